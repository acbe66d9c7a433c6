#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/core/KrTypes.h"
#include "foundation/math/KrRealRealUnaryFunction.h"
#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlCompoundType.h"
#include "function/object/KrFunction.h"

#include <type_traits>

/// Gauss-Legendre quadrature: the integral of a function over [a, b] as
///
///     h sum of w(i) f(c + h x(i)),  h = (b - a) / 2,  c = (a + b) / 2
///
/// with x(i) the roots of the Legendre polynomial of the order n and w(i) their
/// weights. Exact, but for rounding, for polynomials up to the degree 2 n - 1.
///
///     <gaussQuadrature><order>10</order></gaussQuadrature>
///
/// The orders 2 to 20, 32, 64, 96, 100 and 128 are supported. Nodes and weights are
/// tables of correctly rounded doubles, see scripts/gauss_legendre.py. A document
/// sets the order and nothing else: the quadrature integrates by it when it is
/// supported. When it is not, `order` tells it all the same, and the rule stays: that
/// of the last order that was set (10 when none was) after a bare `read`, and that of
/// order 10 after `KrXml::readFile` and `fromString`, which replace the object.
///
/// Cost: n evaluations of the function and some nanoseconds; nothing is allocated.
/// After reading, `setOrder(order())` spares each integral the search for its tables.
/// The error falls with n as the function is smooth: at a kink, or a singularity
/// inside of [a, b], integrate the pieces (examples/06_quadrature shows by how much).
///
/// M. Abramowitz and I. A. Stegun, Handbook of Mathematical Functions, 25.4.30.
class KR_EXPORT KrGaussQuadrature
    : public KrElement<KrGaussQuadrature, KrXmlCompoundType, KrFunction::KrGaussQuadratureToken> {
public:
    /// The number of nodes: 2 to 20, 32, 64, 96, 100 or 128; with any other the rule of the
    /// default stays.
    virtual KrU32 order() const { return order_; }
    /// An order without tables is reported and changes nothing.
    virtual void setOrder(KrU32 order);

    /// The integral of `f` from `a` to `b`, negative when they are exchanged. `f` is
    /// evaluated as often as the order says: first in the middle if the order is odd,
    /// then in pairs from the inside out, each towards `b` before towards `a`.
    virtual double integrate(KrRealRealUnaryFunction const& f, double a, double b) const;

    /// The same for a callable, such as a lambda: `f(x)` is a double for a double x.
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

    /// The tables of `order`: the (order + 1) / 2 nodes that are not negative, in
    /// ascending order, and their weights. Both are left as they were when the order
    /// is not supported. The tables live as long as the library is loaded.
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

    // The row of `order`, null when it is not supported.
    static Rule const* row(KrU32 order);
    // The tables of `order` as `obtainAbscissasAndWeights` gives them, which a derived
    // class may override; null pointers when it is not supported.
    Tables tables(KrU32 order) const;

    KrXmlBasicType<KrU32> order_{10};
    // That of the last order that was set: a document may hold any order.
    KrUncompared<Rule> rule_{*row(order_)};
};
