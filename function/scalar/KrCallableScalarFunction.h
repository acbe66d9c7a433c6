#pragma once

#include "function/scalar/KrBaseScalarFunction.h"

#include <functional>
#include <memory>

/// A scalar function made of a callable, where a program needs one that no element is:
/// the correlation of a random field, say.
///
///     KrCallableScalarFunction correlation([](double d) { return std::exp(-d / 8.0); });
///
/// A callable has no form in a document: writing one, reading one and a document that
/// names one are refused with a message. Copies share the callable, and are equal for
/// that reason; two that were made separately are different.
class KR_EXPORT KrCallableScalarFunction : public KrBaseScalarFunction {
public:
    /// The identity.
    KrCallableScalarFunction();
    /// The function x -> `callable(x)`. An empty `callable` is the identity.
    explicit KrCallableScalarFunction(std::function<double(double)> callable);

    double evaluate(double const& x) const override { return (*callable_)(x); }

    KrXmlObject* clone() const override;
    KrXmlObject* newObject() const override;
    KrBoolean equality(KrXmlObject const* other) const override;
    /// "callableScalarFunction", for messages. No factory knows it.
    KrToken const& token() const override;

    KrBoolean read(KrXmlReader& reader) override;
    KrBoolean write(KrXmlWriter& writer) const override;

    bool operator==(KrCallableScalarFunction const&) const = default;

private:
    std::shared_ptr<std::function<double(double)> const> callable_;
};
