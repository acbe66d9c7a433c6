#include "search/KrRememberingFunction.h"

#include "search/internal/KrPointTable.h"

#include <limits>

KR_SOURCE_VERSION;

struct KrRememberingFunction::Memory {
    explicit Memory(KrU32 dimension) : values(dimension) {}

    KrPointTable<double> values;
};

KrRememberingFunction::KrRememberingFunction(KrScalarMultivariableFunction const& f)
    : f_(f), memory_(std::make_unique<Memory>(f.domainDim())) {}

KrRememberingFunction::~KrRememberingFunction() = default;

double KrRememberingFunction::evaluate(KrRealVector const& x) const {
    if (double const* const known = memory_->values.find(x)) {
        return *known;
    }
    double const value = f_.evaluate(x);
    if (x.size() == f_.domainDim()) {
        memory_->values.insert(x, value);
    }
    return value;
}

void KrRememberingFunction::evaluateMultiple(std::vector<KrRealVector> const& points,
                                             KrRealVector& values) const {
    KrPointTable<std::size_t> places(f_.domainDim());  // of the new points among themselves
    std::vector<KrRealVector> news;
    for (KrRealVector const& point : points) {
        if (point.size() != f_.domainDim()) {
            f_.evaluateMultiple(points, values);
            return;
        }
        if (!memory_->values.find(point) && !places.find(point)) {
            places.insert(point, news.size());
            news.push_back(point);
        }
    }
    KrRealVector newValues;
    if (!news.empty()) {
        f_.evaluateMultiple(news, newValues);
    }
    newValues.resize(news.size(), std::numeric_limits<double>::quiet_NaN());
    for (std::size_t i = 0; i < news.size(); ++i) {
        memory_->values.insert(news[i], newValues[i]);
    }
    values.resize(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        values[i] = *memory_->values.find(points[i]);
    }
}
