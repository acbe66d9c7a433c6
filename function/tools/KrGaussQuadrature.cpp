#include "function/tools/KrGaussQuadrature.h"

#include "foundation/core/KrPrint.h"

#include <algorithm>
#include <span>

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

void KrGaussQuadrature::setOrder(KrU32 order) {
    Rule const found = rule(order);
    if (!found.abscissas) {
        Kr::Print::instance().write(Kr::PrintType::Error, "The order of %d is not supported.\n",
                                    order);
        return;
    }
    order_ = order;
    rule_ = found;
}

double KrGaussQuadrature::integrate(KrRealRealUnaryFunction const& f, double a, double b) const {
    // Copies, since the function may set another order meanwhile.
    KrU32 n = rule_->order;
    double const* x = rule_->abscissas;
    double const* w = rule_->weights;
    if (order_ != n) {
        if (Rule const read = rule(order_); read.abscissas) {
            n = read.order;
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
    // The rows of the orders 2, 3, ... 20 come first.
    for (Rule const& rule : std::span(rules_).subspan(std::min(order - 2, 19U))) {
        if (rule.order == order) {
            abscissas = rule.abscissas;
            weights = rule.weights;
            return;
        }
    }
}

KrGaussQuadrature::Rule KrGaussQuadrature::rule(KrU32 order) const {
    Rule found{order, nullptr, nullptr};
    obtainAbscissasAndWeights(order, found.abscissas, found.weights);
    return found;
}

void KrGaussQuadrature::registerComponents() {
    registerComponent(KrFunction::KrOrderToken, &order_);
}
