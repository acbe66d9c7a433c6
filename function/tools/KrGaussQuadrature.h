#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/core/KrTypes.h"
#include "foundation/math/KrRealRealUnaryFunction.h"
#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlCompoundType.h"
#include "function/tools/KrToolTokens.h"

#include <type_traits>

/// Gauss-Legendre quadrature: the integral of a function over [a, b] as a weighted sum.
///
///     h sum of w(i) f(c + h x(i)),  h = (b - a) / 2,  c = (a + b) / 2
///
/// The x(i) are the roots of the Legendre polynomial of order n, the w(i) their weights.
/// Exact up to rounding for polynomials of degree 2 n - 1 or less.
///
///     <gaussQuadrature><order>10</order></gaussQuadrature>
///
/// Nodes and weights are tables of correctly rounded doubles, see scripts/gauss_legendre.py.
/// The error falls quickly with n if f is smooth. At a kink or a singularity inside [a, b],
/// integrate the pieces; examples/06_quadrature prints the errors.
///
/// Cost: n evaluations of f and some nanoseconds; no allocation. After reading,
/// `setOrder(order())` saves each integral the search for its tables.
///
/// M. Abramowitz and I. A. Stegun, Handbook of Mathematical Functions, 25.4.30.
///
/// Several threads may integrate with one object at once, while none changes it.
class KR_EXPORT KrGaussQuadrature
    : public KrElement<KrGaussQuadrature, KrXmlCompoundType, KrFunction::KrGaussQuadratureToken> {
public:
    /// The number n of nodes: 2 to 20, 32, 64, 96, 100 or 128. Default: 10.
    /// A document may hold any other order, which `order` returns; `integrate` then keeps the
    /// last supported order that was set, or 10 if none was. `KrXml::readFile` and `fromString`
    /// replace the object, so that it is 10. Raise it if the error is too large; of a smooth f a
    /// dozen nodes usually reach rounding.
    virtual KrU32 order() const { return order_; }
    /// Sets a supported order. Any other prints a message and changes nothing.
    virtual void setOrder(KrU32 order);

    /// Returns the integral of `f` from `a` to `b`; swapped limits change its sign. It evaluates
    /// `f` exactly n times: first in the middle if n is odd, then in pairs from the inside out,
    /// the point towards `b` first. Limits must be finite, which is not checked: with others `f`
    /// is evaluated at infinite or NaN points.
    virtual double integrate(KrRealRealUnaryFunction const& f, double a, double b) const;

    /// Returns the integral of a callable, such as a lambda that maps a double to a double.
    template <class Callable>
        requires(std::is_invocable_r_v<double, Callable&, double> &&
                 !std::is_convertible_v<Callable&, KrRealRealUnaryFunction const&>)
    double integrate(Callable&& f, double a, double b) const {
        struct Integrand : KrRealRealUnaryFunction {
            explicit Integrand(Callable& f) : f_(f) {}
            double evaluate(double x) const override { return f_(x); }
            Callable& f_;
        };
        return integrate(Integrand(f), a, b);
    }

    /// Sets the pointers to the (order + 1) / 2 nodes >= 0 of `order`, ascending, and to their
    /// weights. If the order is not supported, both stay unchanged. The tables live as long as
    /// the library is loaded.
    virtual void obtainAbscissasAndWeights(KrU32 order, double const*& abscissas,
                                           double const*& weights) const;

    void registerComponents() override;

    bool operator==(KrGaussQuadrature const&) const = default;

private:
    struct Rule {
        KrU32 order;
        double const* abscissas;
        double const* weights;
    };
    struct Tables {
        double const* abscissas;
        double const* weights;
    };
    static Rule const rules_[24];

    // Returns the row of `order`, or null if it is not supported.
    static Rule const* row(KrU32 order);
    // Returns the tables of `order` by `obtainAbscissasAndWeights`, which a derived class may
    // override; null pointers if the order is not supported.
    Tables tables(KrU32 order) const;

    KrXmlBasicType<KrU32> order_{10};
    // The rule of the last order that was set. It can differ from `order_` after reading.
    KrUncompared<Rule> rule_{*row(order_)};
};
