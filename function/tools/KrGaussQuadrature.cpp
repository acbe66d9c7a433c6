#include "function/tools/KrGaussQuadrature.h"

#include "foundation/core/KrPrint.h"

#include <algorithm>
#include <span>

KR_SOURCE_VERSION;

void KrGaussQuadrature::setOrder(KrU32 order) {
    Tables const found = tables(order);
    if (!found.abscissas) {
        Kr::Print::instance().write(Kr::PrintType::Error, "The order of %d is not supported.\n",
                                    order);
        return;
    }
    order_ = order;
    rule_ = Rule{order, found.abscissas, found.weights};
}

double KrGaussQuadrature::integrate(KrRealRealUnaryFunction const& f, double a, double b) const {
    // Copies, since `f` may set another order during the integral.
    KrU32 n = rule_->order;
    double const* x = rule_->abscissas;
    double const* w = rule_->weights;
    // Reading sets the order but not the rule. If the order is not supported, the rule stays.
    if (order_ != n) {
        if (Tables const read = tables(order_); read.abscissas) {
            n = order_;
            x = read.abscissas;
            w = read.weights;
        }
    }
    double const half = 0.5 * (b - a);
    double const mid = 0.5 * (a + b);
    double sum = 0.0;
    if (n % 2) {
        sum = *w++ * f.evaluate(mid);
        ++x;
    }
    for (KrU32 pairs = n / 2; pairs > 0; --pairs) {
        double const offset = half * *x++;
        double const plus = f.evaluate(mid + offset);
        double const minus = f.evaluate(mid - offset);
        sum += *w++ * (plus + minus);
    }
    return half * sum;
}

void KrGaussQuadrature::obtainAbscissasAndWeights(KrU32 order, double const*& abscissas,
                                                  double const*& weights) const {
    if (Rule const* const found = row(order)) {
        abscissas = found->abscissas;
        weights = found->weights;
    }
}

KrGaussQuadrature::Rule const* KrGaussQuadrature::row(KrU32 order) {
    // Rows 0 to 18 are the orders 2 to 20; the larger orders follow.
    std::size_t const first = order < 2 ? 0 : std::min(order - 2, 19U);
    for (Rule const& rule : std::span(rules_).subspan(first)) {
        if (rule.order == order) {
            return &rule;
        }
    }
    return nullptr;
}

// Out of line, so that `integrate` needs no stack protection when the rule is set.
[[gnu::noinline]] KrGaussQuadrature::Tables KrGaussQuadrature::tables(KrU32 order) const {
    Tables found{nullptr, nullptr};
    obtainAbscissasAndWeights(order, found.abscissas, found.weights);
    return found;
}

void KrGaussQuadrature::registerComponents() {
    registerComponent(KrFunction::KrOrderToken, &order_);
}
