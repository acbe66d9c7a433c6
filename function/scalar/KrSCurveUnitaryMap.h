#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "function/scalar/KrBaseUnitaryMap.h"
#include "function/scalar/KrScalarTokens.h"

/// An S-shaped map through (0, 0), (center, 0.5) and (1, 1) with given slopes at the three
/// points, made of two rational pieces:
///
///     f(x) = (a1 x^2 + b1 x) / (c1 - x)                       x < center
///     f(x) = 1 - (a2 u^2 + b2 u) / (c2 - u),   u = 1 - x      otherwise
///
///     <sCurveUnitaryMap>
///       <center>0.5</center>               inside (0, 1)
///       <initialSlope>0</initialSlope>     at 0
///       <finalSlope>0</finalSlope>         at 1
///       <centerSlope>4</centerSlope>       at the centre, from both sides
///     </sCurveUnitaryMap>
///
/// The poles lie outside [0, 1] only if
///
///     s0 < 0.5 / center,   s1 < 0.5 / (1 - center),
///     sc > max(1 / center - s0, 1 / (1 - center) - s1)
///
/// for the slopes s0 at 0, s1 at 1 and sc at the centre. Slopes outside these bounds are
/// clamped to 1e-7 inside them, in the coefficients only: the getters return the values set.
/// If the centre is outside (0, 1), the map is the identity, and each computation of the
/// coefficients prints a message.
///
/// Setters and `read` compute the coefficients. Before the first of these calls the map
/// returns 0 below the centre, 1 from the centre on, and NaN at 0 and 1.
///
/// Several threads may evaluate one object at once, while none changes it.
class KR_EXPORT KrSCurveUnitaryMap : public KrTaggedElement<KrSCurveUnitaryMap, KrBaseUnitaryMap,
                                                            KrFunction::KrSCurveUnitaryMapToken> {
public:
    double evaluate(double const& x) const override;

    /// The x at which f is 0.5, inside (0, 1). Default: 0.5.
    /// Admissible: 0 < center < 1. Outside, and for NaN, f is the identity, with a message.
    /// Within 1e-9 of 0 or 1, rounding can make f NaN on the shorter side. Move it to shift
    /// the steep part.
    virtual double center() const { return center_; }
    virtual void setCenter(double center);
    /// The slope of f at x = 0, a pure number. Default: 0.
    /// Admissible: 0 <= initialSlope < 0.5 / center. A greater slope is clamped to
    /// 0.5 / center - 1e-7. With a negative slope f falls below 0 first. NaN makes f NaN below
    /// the centre; -INF makes it NaN everywhere. Raise it for a response that starts at once.
    virtual double initialSlope() const { return initialSlope_; }
    virtual void setInitialSlope(double slope);
    /// The slope of f at x = 1, a pure number. Default: 0.
    /// Admissible: 0 <= finalSlope < 0.5 / (1 - center). A greater slope is clamped to
    /// 0.5 / (1 - center) - 1e-7. With a negative slope f exceeds 1 before x = 1. NaN makes f
    /// NaN from the centre on; -INF makes it NaN everywhere. Raise it for a response that does
    /// not level off.
    virtual double finalSlope() const { return finalSlope_; }
    virtual void setFinalSlope(double slope);
    /// The slope of f at the centre, from both sides, a pure number. Default: 4.
    /// Admissible: centerSlope > max(1 / center - s0, 1 / (1 - center) - s1), with s0 and s1 the
    /// clamped end slopes. A lesser slope, negative ones included, is raised to that bound plus
    /// 1e-7. NaN or INF makes f NaN. Above 1e9 rounding shows at the centre. Raise it for a
    /// sharper step.
    virtual double centerSlope() const { return centerSlope_; }
    virtual void setCenterSlope(double slope);

    /// Computes the coefficients from the parameters. Every setter and `read` call it.
    virtual void calculateCoefficients();

    KrBoolean read(KrXmlReader& reader) override;

    /// The same as `creator`.
    KR_EXPORT static KrXmlObject* xmlObjectCreator() { return creator(); }

    void registerComponents() override;

    bool operator==(KrSCurveUnitaryMap const&) const = default;

private:
    // One piece, in coordinates with its end of the interval at x = 0, f = 0.
    struct Piece {
        static Piece through(double width, double endSlope, double centerSlope);
        double evaluate(double x) const { return (a * (x * x) + b * x) / (c - x); }

        double a = 0.0;
        double b = 0.0;
        double c = 0.0;
    };

    KrXmlBasicType<double> center_{0.5};
    KrXmlBasicType<double> initialSlope_{0.0};
    KrXmlBasicType<double> finalSlope_{0.0};
    KrXmlBasicType<double> centerSlope_{4.0};
    KrUncompared<Piece> lower_;
    KrUncompared<Piece> upper_;
};
