#include "function/tools/KrGaussQuadrature.h"

#include "foundation/core/KrPrint.h"

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
    Rule used = *rule_;
    if (order_ != used.order) {
        Rule const read = rule(order_);
        used = read.abscissas ? read : used;
    }
    double const half = 0.5 * (b - a);
    double const mid = 0.5 * (a + b);
    KrU32 const centre = used.order % 2;
    double sum = centre ? used.weights[0] * f.evaluate(mid) : 0.0;
    for (KrU32 i = centre; i < used.order / 2 + centre; ++i) {
        double const offset = half * used.abscissas[i];
        double const plus = f.evaluate(mid + offset);
        double const minus = f.evaluate(mid - offset);
        sum += used.weights[i] * (plus + minus);
    }
    return half * sum;
}

void KrGaussQuadrature::obtainAbscissasAndWeights(KrU32 order, double const*& abscissas,
                                                  double const*& weights) const {
    for (Rule const& rule : rules_) {
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
