#include "function/scalar/KrCallableScalarFunction.h"

#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlWriter.h"

#include <utility>

KR_SOURCE_VERSION;

namespace {

using Callable = std::function<double(double)>;

// Shared by all identities, so that they compare equal.
std::shared_ptr<Callable const> const& identity() {
    static auto const callable = std::make_shared<Callable const>([](double x) { return x; });
    return callable;
}

}  // namespace

KrCallableScalarFunction::KrCallableScalarFunction() : callable_(identity()) {}

KrCallableScalarFunction::KrCallableScalarFunction(Callable callable)
    : callable_(callable ? std::make_shared<Callable const>(std::move(callable)) : identity()) {}

KrXmlObject* KrCallableScalarFunction::clone() const { return new KrCallableScalarFunction(*this); }

KrXmlObject* KrCallableScalarFunction::newObject() const { return new KrCallableScalarFunction; }

KrBoolean KrCallableScalarFunction::equality(KrXmlObject const* other) const {
    auto const* const same = dynamic_cast<KrCallableScalarFunction const*>(other);
    return same && *this == *same;
}

KrToken const& KrCallableScalarFunction::token() const {
    static KrToken const name("callableScalarFunction");
    return name;
}

KrBoolean KrCallableScalarFunction::read(KrXmlReader& reader) {
    return reader.refuse("an element that documents can hold", "a function made of a callable");
}

KrBoolean KrCallableScalarFunction::write(KrXmlWriter& writer) const {
    writer.refuse("a function made of a callable has no form in a document");
    return false;
}
