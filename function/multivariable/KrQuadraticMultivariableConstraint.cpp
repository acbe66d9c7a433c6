#include "function/multivariable/KrQuadraticMultivariableConstraint.h"

#include <algorithm>
#include <typeinfo>

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";

using Row = KrCoefficientIndex::Row;

// Calls `term(k, j)` for the k-th column j of the row, in order. A row without
// gaps needs no look at its columns.
template <class Term>
void forEachColumn(Row const& row, Term term) {
    std::size_t const count = row.columns.size();
    if (row.empty()) {
        return;
    }
    if (row.gapless()) {
        std::size_t const first = row.columns.front();
        for (std::size_t k = 0; k < count; ++k) {
            term(k, first + k);
        }
    } else {
        for (std::size_t k = 0; k < count; ++k) {
            term(k, row.columns[k]);
        }
    }
}

// Adds what the row has to the sums of the gradient: to that of its own number,
// which by now has all of the rows before, and to those of its columns.
void addRow(Row const& row, double const* x, double* sums) {
    std::size_t const i = row.number;
    double const* const q = row.values.data();
    double const xi = x[i];
    double sum = sums[i];
    forEachColumn(row, [&](std::size_t k, std::size_t j) {
        if (j == i) {
            sum = (q[k] + q[k]) * xi + sum;
        } else {
            sum = q[k] * x[j] + sum;
            sums[j] = q[k] * xi + sums[j];
        }
    });
    sums[i] = sum;
}

}  // namespace

double KrQuadraticMultivariableConstraint::evaluate(KrRealVector const& x) const {
    if (goesByRows(offset(), x)) {
        return evaluateByRows(x);
    }
    KrU32 const n = static_cast<KrU32>(x.size());
    double v = offset();
    for (KrU32 i = 0; i < n; ++i) {
        for (KrU32 j = i; j < n; ++j) {
            v = (secondOrderCoefficient(i, j) * x[i]) * x[j] + v;
        }
        v = firstOrderCoefficient(i) * x[i] + v;
    }
    return v;
}

KrRealVector const& KrQuadraticMultivariableConstraint::gradient(KrRealVector const& x) const {
    if (&x == &gradient_) {
        *point_ = x;
        return gradient(*point_);
    }
    KrU32 const n = static_cast<KrU32>(x.size());
    gradient_.resize(n);
    if (goesByRows(0.0, x)) {
        gradientByRows(x);
    } else {
        for (KrU32 i = 0; i < n; ++i) {
            double sum = 0.0;
            for (KrU32 j = 0; j < n; ++j) {
                double const q = i == j ? secondOrderCoefficient(i) : secondOrderCoefficient(i, j);
                sum = (i == j ? q + q : q) * x[j] + sum;
            }
            gradient_[i] = firstOrderCoefficient(i) + sum;
        }
    }
    normalizeGradient();
    return gradient_;
}

// Whether a sum that starts as `start` may pass over what is not listed, and has
// enough to pass over.
bool KrQuadraticMultivariableConstraint::goesByRows(double start, KrRealVector const& x) const {
    if (typeid(*this) != typeid(KrQuadraticMultivariableConstraint)) {
        first_.rows();  // has what was appended sorted in, ahead of many look-ups
        second_.rows();
        return false;
    }
    bool const isSmall = first_.areFew() && second_.areFew() && x.size() <= 8;
    return !isSmall && KrCoefficientIndex::maySkipZeros(start, x);
}

double KrQuadraticMultivariableConstraint::evaluateByRows(KrRealVector const& x) const {
    KrU32 const n = static_cast<KrU32>(x.size());
    KrCoefficientIndex const& first = first_.rows();
    KrCoefficientIndex const& second = second_.rows();
    Row const linear = first.rowCount() == 0 ? Row{} : first.row(0).below(n);
    double v = offset();
    std::size_t nextLinear = 0;
    std::size_t nextRow = 0;
    for (KrU32 i = 0; i < n; ++i) {
        double const xi = x[i];
        if (nextRow < second.rowCount() && second.rowNumber(nextRow) == i) {
            Row const row = second.row(nextRow++).below(n);
            forEachColumn(row, [&, q = row.values.data()](std::size_t k, std::size_t j) {
                v = (q[k] * xi) * x[j] + v;
            });
        }
        if (nextLinear < linear.columns.size() && linear.columns[nextLinear] == i) {
            v = linear.values[nextLinear++] * xi + v;
        }
    }
    return v;
}

// Each sum gets its terms in the order of their columns: the terms left of the
// diagonal, which are stored in the rows above, from those rows in their order,
// then the row's own.
void KrQuadraticMultivariableConstraint::gradientByRows(KrRealVector const& x) const {
    KrU32 const n = static_cast<KrU32>(x.size());
    KrCoefficientIndex const& second = second_.rows();
    std::fill(gradient_.begin(), gradient_.end(), 0.0);
    for (std::size_t r = 0; r < second.rowCount() && second.rowNumber(r) < n; ++r) {
        addRow(second.row(r).below(n), x.data(), gradient_.data());
    }
    KrCoefficientIndex const& first = first_.rows();
    if (first.rowCount() != 0) {
        Row const row = first.row(0).below(n);
        for (std::size_t k = 0; k < row.columns.size(); ++k) {
            double& sum = gradient_[row.columns[k]];
            sum = row.values[k] + sum;
        }
    }
}

double KrQuadraticMultivariableConstraint::firstOrderCoefficient(KrU32 i) const {
    return first_.coefficient(i);
}

void KrQuadraticMultivariableConstraint::setFirstOrderCoefficient(KrU32 i, double value) {
    first_.setCoefficient(i, value);
}

double KrQuadraticMultivariableConstraint::secondOrderCoefficient(KrU32 i, KrU32 j) const {
    return second_.coefficient(second_.keyOf(std::min(i, j), std::max(i, j)));
}

void KrQuadraticMultivariableConstraint::setSecondOrderCoefficient(KrU32 i, KrU32 j, double value) {
    second_.setCoefficient(second_.keyOf(std::min(i, j), std::max(i, j)), value);
}

void KrQuadraticMultivariableConstraint::registerComponents() {
    KrTaggedElement::registerComponents();
    registerComponent(KrFunction::KrOffsetToken, &offset_);
    registerComponent(KrFunction::KrFirstOrderIndicesToken, first_.indices());
    registerComponent(KrFunction::KrFirstOrderCoefficientsToken, first_.coefficients());
    registerComponent(KrFunction::KrSecondOrderIndexPairsToken, second_.indices());
    registerComponent(KrFunction::KrSecondOrderCoefficientsToken, second_.coefficients());
}

KrXmlComponentMap& KrQuadraticMultivariableConstraint::componentMap() {
    first_.dropIndex();
    second_.dropIndex();
    return KrTaggedElement::componentMap();
}
