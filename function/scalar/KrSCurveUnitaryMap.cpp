#include "function/scalar/KrSCurveUnitaryMap.h"

#include "foundation/core/KrPrint.h"

#include <algorithm>

KR_SOURCE_VERSION;

double KrSCurveUnitaryMap::evaluate(double const& x) const {
    return center() > x ? lower_->evaluate(x) : 1.0 - upper_->evaluate(1.0 - x);
}

void KrSCurveUnitaryMap::setCenter(double center) {
    center_ = center;
    calculateCoefficients();
}

void KrSCurveUnitaryMap::setInitialSlope(double slope) {
    initialSlope_ = slope;
    calculateCoefficients();
}

void KrSCurveUnitaryMap::setFinalSlope(double slope) {
    finalSlope_ = slope;
    calculateCoefficients();
}

void KrSCurveUnitaryMap::setCenterSlope(double slope) {
    centerSlope_ = slope;
    calculateCoefficients();
}

void KrSCurveUnitaryMap::calculateCoefficients() {
    double const c = center();
    if (!(c > 0.0 && 1.0 > c)) {
        // Both pieces are y = x, with their poles just outside the interval.
        constexpr Piece identity{-1.0, 1.0000001, 1.0000001};
        lower_ = identity;
        upper_ = identity;
        // %d truncates a real number. The text stays, since log readers search for it.
        Kr::Print::instance().write(
            Kr::PrintType::Error,
            "KrSCurveUnitaryMap::calculateCoefficients(): center (%d) out of range.\n", c);
        return;
    }
    constexpr double margin = 1e-7;
    double const d = 1.0 - c;
    double const s0 = std::min(initialSlope(), 0.5 / c - margin);
    double const s1 = std::min(finalSlope(), 0.5 / d - margin);
    double const sc = std::max(centerSlope(), std::max(1.0 / c - s0, 1.0 / d - s1) + margin);
    lower_ = Piece::through(c, s0, sc);
    upper_ = Piece::through(d, s1, sc);
}

// Returns the piece from (0, 0) with slope s to (w, 0.5) with slope sc.
KrSCurveUnitaryMap::Piece KrSCurveUnitaryMap::Piece::through(double w, double s, double sc) {
    double const rise = (s + sc) * w - 1.0;
    return {(1.0 - 4.0 * (w * w) * s * sc) / (4.0 * w * rise),
            s * w * (1.0 - 2.0 * w * sc) / (-2.0 * rise), w * (2.0 * w * sc - 1.0) / (2.0 * rise)};
}

KrBoolean KrSCurveUnitaryMap::read(KrXmlReader& reader) {
    bool const good = KrTaggedElement::read(reader);
    calculateCoefficients();
    return good;
}

void KrSCurveUnitaryMap::registerComponents() {
    registerComponent(KrFunction::KrCenterToken, &center_);
    registerComponent(KrFunction::KrInitialSlopeToken, &initialSlope_);
    registerComponent(KrFunction::KrFinalSlopeToken, &finalSlope_);
    registerComponent(KrFunction::KrCenterSlopeToken, &centerSlope_);
}
