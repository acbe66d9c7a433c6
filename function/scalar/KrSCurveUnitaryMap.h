#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "function/object/KrFunction.h"
#include "function/scalar/KrBaseUnitaryMap.h"

/// An S-shaped map through (0, 0), (center, 0.5) and (1, 1) with given slopes at
/// the three points, of two rational pieces:
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
/// For the poles to lie outside [0, 1] the end slopes may not exceed those of the
/// chords to the centre, and the centre slope must exceed what they leave to be
/// climbed; slopes beyond are limited in the coefficients, while the parameters
/// keep what they were given. A centre that is not inside (0, 1) is reported with
/// every computation of the coefficients and makes the map the identity.
///
/// The coefficients follow from the parameters when one of them is set or the map
/// is read. A map of which neither has happened has none: it is 0 below the
/// centre and 1 from there on, and NaN at 0 and 1.
class KR_EXPORT KrSCurveUnitaryMap : public KrTaggedElement<KrSCurveUnitaryMap, KrBaseUnitaryMap,
                                                            KrFunction::KrSCurveUnitaryMapToken> {
public:
    double evaluate(double const& x) const override;

    /// The x at which f is 0.5, inside (0, 1); 0.5 by default.
    virtual double center() const { return center_; }
    virtual void setCenter(double center);
    /// The slope at 0, as it was given; 0 by default. The curve's own is at most
    /// 0.5 / center - 1e-7.
    virtual double initialSlope() const { return initialSlope_; }
    virtual void setInitialSlope(double slope);
    /// The slope at 1, as it was given; 0 by default. The curve's own is at most
    /// 0.5 / (1 - center) - 1e-7.
    virtual double finalSlope() const { return finalSlope_; }
    virtual void setFinalSlope(double slope);
    /// The slope at the centre, as it was given; 4 by default. The curve's own is
    /// more than 1 / center and 1 / (1 - center) less the end slope on that side.
    virtual double centerSlope() const { return centerSlope_; }
    virtual void setCenterSlope(double slope);

    /// Computes the coefficients from the parameters; called by every setter and
    /// by `read`.
    virtual void calculateCoefficients();

    KrBoolean read(KrXmlReader& reader) override;

    /// The same as `creator`.
    KR_EXPORT static KrXmlObject* xmlObjectCreator() { return creator(); }

    void registerComponents() override;

    bool operator==(KrSCurveUnitaryMap const&) const = default;

private:
    // One piece, as seen from its end of the interval, where x = 0 and f = 0.
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
