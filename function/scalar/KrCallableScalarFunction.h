#pragma once

#include "function/scalar/KrBaseScalarFunction.h"

#include <functional>
#include <memory>

/// A scalar function made from a callable. Use it where no element fits, for example as the
/// correlation of a random field.
///
///     KrCallableScalarFunction correlation([](double d) { return std::exp(-d / 8.0); });
///
/// A document cannot hold a callable. `read` and `write` return false and print a message.
/// Copies share the callable and compare equal. Two objects made separately are different.
///
/// Several threads may evaluate one object at once if its callable allows that.
class KR_EXPORT KrCallableScalarFunction : public KrBaseScalarFunction {
public:
    /// Shares the callable. A move is a copy, so that no object is without one.
    KrCallableScalarFunction(KrCallableScalarFunction const&) = default;
    /// Shares the callable.
    KrCallableScalarFunction& operator=(KrCallableScalarFunction const&) = default;
    ~KrCallableScalarFunction() override = default;
    /// The identity.
    KrCallableScalarFunction();
    /// The function x -> `callable(x)`. An empty `callable` is the identity.
    explicit KrCallableScalarFunction(std::function<double(double)> callable);

    double evaluate(double const& x) const override { return (*callable_)(x); }

    KrXmlObject* clone() const override;
    KrXmlObject* newObject() const override;
    KrBoolean equality(KrXmlObject const* other) const override;
    /// "callableScalarFunction", for messages only. No factory creates it.
    KrToken const& token() const override;

    KrBoolean read(KrXmlReader& reader) override;
    KrBoolean write(KrXmlWriter& writer) const override;

    bool operator==(KrCallableScalarFunction const&) const = default;

private:
    std::shared_ptr<std::function<double(double)> const> callable_;
};
