// Defines a function of one variable that documents hold like the library's.
//
//   08_own_function [FILE.xml]           settings.xml by default

#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlFactory.h"
#include "function/object/KrScalarFunctionContainer.h"

#include <cmath>
#include <cstdio>

// The names in documents. Their own namespace avoids clashes with the library's names.
static KrToken const ns("urn:example:decay#");
static KrToken const DecayToken = ns + "decay";
static KrToken const StartToken = ns + "start";
static KrToken const LengthToken = ns + "length";

/// An exponential decay, f(x) = start exp(-x / length). A length of 0 gives 0 for
/// x > 0, and NaN at x = 0.
///
///     <decay xmlns="urn:example:decay#">
///       <start>1</start>      value at x = 0
///       <length>1</length>    x at which f is start / e
///     </decay>
class Decay : public KrElement<Decay, KrBaseScalarFunction, DecayToken> {
public:
    double evaluate(double const& x) const override { return start_ * std::exp(-x / length_); }

    virtual double start() const { return start_; }
    virtual void setStart(double start) { start_ = start; }
    virtual double length() const { return length_; }
    virtual void setLength(double length) { length_ = length; }

    void registerComponents() override {
        registerComponent(StartToken, &start_);
        registerComponent(LengthToken, &length_);
    }

    bool operator==(Decay const&) const = default;

private:
    KrXmlBasicType<double> start_{1.0};
    KrXmlBasicType<double> length_{1.0};
};

int main(int argc, char** argv) {
    KrXmlFactory factory;
    factory.registerCreator(DecayToken, Decay::creator);

    KrScalarFunctionContainer function;
    if (!KrXml::readFile(argc > 1 ? argv[1] : "settings.xml", function, &factory)) {
        return 1;  // a message gives file, line and column
    }
    for (double const x : {0.0, 1.0, 2.0}) {
        std::printf("f(%g) = %g\n", x, function.evaluate(x));
    }

    // It is written, copied and compared like any other element.
    KrScalarFunctionContainer copy;
    bool const same =
        KrXml::fromString(KrXml::toString(function), copy, &factory) && copy == function;
    std::printf("%s", KrXml::toString(copy).c_str());
    return same ? 0 : 1;
}
