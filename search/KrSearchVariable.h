#pragma once

#include "foundation/xml/KrBaseExpressionTreeElement.h"
#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "search/KrSearchNames.h"

#include <limits>
#include <string>

/// One unknown of a search: where it starts, its bounds, and its scale.
///
///     <variable>
///       <name>mass</name><start>3</start><lower>0</lower><upper>10</upper><scale>1</scale>
///     </variable>
///
/// Use one object in one thread at a time.
class KR_EXPORT KrSearchVariable
    : public KrTaggedElement<KrSearchVariable, KrBaseExpressionTreeElement,
                             KrSearchNames::KrVariableToken> {
public:
    KrSearchVariable() = default;
    /// A variable of these components.
    KrSearchVariable(std::string const& name, double start,
                     double lower = -std::numeric_limits<double>::infinity(),
                     double upper = std::numeric_limits<double>::infinity(), double scale = 1.0)
        : name_(name), start_(start), lower_(lower), upper_(upper), scale_(scale) {}

    /// The variable's name, unique in its search: letters, digits, underscores, hyphens
    /// and dots, at least one of them. Default: empty, which a search refuses.
    std::string const& name() const { return name_; }
    void setName(std::string const& name) { name_ = name; }

    /// The coordinate x0 at which the search starts, in the variable's own unit. It is finite. A
    /// start outside the bounds is moved onto the nearer one, with a message. Default: 0.
    double start() const { return start_; }
    void setStart(double start) { start_ = start; }

    /// The lower bound: no evaluation is below it. It is at most `upper`; -INF is no bound.
    /// Default: -INF.
    double lower() const { return lower_; }
    void setLower(double lower) { lower_ = lower; }

    /// The upper bound: no evaluation is above it. INF is no bound. Default: INF.
    double upper() const { return upper_; }
    void setUpper(double upper) { upper_ = upper; }

    /// The size s of a typical change of x, from 3e-151 to 3e150. The optimizer works on x / s,
    /// with s rounded to the nearest power of two, so that one edge length fits all variables and
    /// nothing is rounded. Change it if the variables differ by orders of magnitude. Default: 1.
    double scale() const { return scale_; }
    void setScale(double scale) { scale_ = scale; }

    void registerComponents() override;

    bool operator==(KrSearchVariable const&) const = default;

private:
    KrXmlBasicType<std::string> name_;
    KrXmlBasicType<double> start_{0.0};
    KrXmlBasicType<double> lower_{-std::numeric_limits<double>::infinity()};
    KrXmlBasicType<double> upper_{std::numeric_limits<double>::infinity()};
    KrXmlBasicType<double> scale_{1.0};
};
