#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/math/KrReArray.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlEnumType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/object/KrFunction.h"
#include "function/optimizer/KrMinimisingOptimizer.h"

#include <cstdint>

/// The pattern search of Hooke and Jeeves, on one of four sets of directions.
///
/// An exploration tries a step along each direction in turn, forward and then
/// backward, and keeps what lowers the value. After one that succeeded, a pattern
/// move repeats the whole displacement from the base point, and the search
/// explores around where that leads; after one that failed, the steps contract.
/// The search ends when the product of the contractions falls below
/// `minTotalReduction`, or when the budget is spent.
///
///     <hookeJeeves>
///       <reductionFactor>0.5</reductionFactor>       of the steps, per contraction
///       <minTotalReduction>0.001</minTotalReduction>
///       <maxFunctionEvaluations>300</maxFunctionEvaluations>
///       <edgeLengths count="0"/>                     in units of the coordinates
///       <defaultEdgeLength>0.01</defaultEdgeLength>
///       <directionsMode>urn:zeibreku:function#none</directionsMode>
///     </hookeJeeves>
///
/// | `directionsMode` | text        | directions                                   |
/// |------------------|-------------|----------------------------------------------|
/// | `NONE`           | none        | the coordinate axes                          |
/// | `AXIS_ALIGNED`   | axisAligned | the columns of an identity matrix            |
/// | `RANDOM`         | random      | orthonormal, redrawn at each contraction     |
/// | `ROTATED`        | rotated     | two of them turned by 45 degrees at each     |
/// |                  |             | contraction but the first, from the identity |
///
/// A text carries the namespace, as in the sample. Another mode is reported as a
/// search begins and at each contraction, and leaves the directions as they are, zeros
/// at first.
///
/// Every evaluation is charged, that at the start point included; a pattern move
/// may spend one more than the budget. A start point whose length is not the
/// dimension is reported; a shorter one is filled with zeros, the extra components
/// of a longer one are handed to the function as they are. A NaN compares as no
/// improvement.
///
/// Cost beyond the function: a few operations an evaluation in mode "none", about
/// 3n in the others, and n² to n³ a contraction there; no allocation but in an
/// object's first search of a dimension; n² doubles of memory.
///
/// Source: R. Hooke and T. A. Jeeves, "Direct search solution of numerical and
/// statistical problems", Journal of the ACM 8 (1961).
class KR_EXPORT KrHookeJeevesOptimizer
    : public KrTaggedElement<KrHookeJeevesOptimizer, KrMinimisingOptimizer<KrHookeJeevesOptimizer>,
                             KrFunction::KrHookeJeevesToken> {
public:
    /// The sets of directions, numbered as recorded settings have them.
    enum DIRECTIONS_MODE : KrU32 { NONE = 0, AXIS_ALIGNED = 1, RANDOM = 2, ROTATED = 3 };

    /// Factor of the steps at each contraction.
    virtual double reductionFactor() const { return reductionFactor_; }
    virtual void setReductionFactor(double factor) { reductionFactor_ = factor; }
    /// The search ends when the steps are less than this share of the first ones.
    virtual double minTotalReduction() const { return minTotalReduction_; }
    virtual void setMinTotalReduction(double reduction) { minTotalReduction_ = reduction; }
    /// Most evaluations, that at the start point included.
    virtual KrU32 maxFunctionEvaluations() const { return maxFunctionEvaluations_; }
    virtual void setMaxFunctionEvaluations(KrU32 count) { maxFunctionEvaluations_ = count; }
    /// First step along coordinate i; in the modes with a matrix, the unit of
    /// coordinate i.
    virtual KrXmlRealVector const& edgeLengths() const { return edgeLengths_; }
    virtual void setEdgeLengths(KrXmlRealVector const& lengths) { edgeLengths_ = lengths; }
    /// The same for each coordinate that `edgeLengths` does not reach.
    virtual double defaultEdgeLength() const { return defaultEdgeLength_; }
    virtual void setDefaultEdgeLength(double length) { defaultEdgeLength_ = length; }
    /// The set of directions, a `DIRECTIONS_MODE`: `none` the coordinate axes, `axisAligned`
    /// the axes as a matrix, `random` orthonormal and redrawn at each contraction, `rotated`
    /// turned pairwise.
    virtual KrU32 directionsMode() const { return directionsMode_; }
    virtual void setDirectionsMode(KrU32 mode) { directionsMode_ = mode; }

    // The parts of a search, on the working state. They need the function that
    // `initialize` was given; before it, and after a search, they evaluate nothing.

    /// Sets up a search from `start` and evaluates there; `sign` is +1.0 in a
    /// search for a minimum and -1.0 in one for a maximum. The steps are always
    /// the configured ones: `scale` has no effect.
    virtual void initialize(double sign, KrScalarMultivariableFunction const& f,
                            KrRealVector const& start, double scale) const;

    // The three states of a search. Each does its work and hands over to the
    // next; the call that enters the first of them returns when the search is
    // over, without recursion.

    /// Explores around the base point.
    virtual void newExploratoryMove() const;
    /// Makes the explored point the base, repeats the displacement that led to it,
    /// and explores around that.
    virtual void transitionalMove() const;
    /// Shortens the steps and renews the directions.
    virtual void patternContraction() const;

    /// Tries each direction from the trial point; whether its value was lowered.
    virtual bool explore() const;
    /// Makes the directions of a new search.
    virtual void initializeDirections() const;
    /// Renews the directions, as the mode says.
    virtual void updateDirections() const;

    void registerComponents() override;
    void xmlInit() override;

    bool operator==(KrHookeJeevesOptimizer const&) const = default;

private:
    friend class KrMinimisingOptimizer<KrHookeJeevesOptimizer>;

    using MoveOperation = void (KrHookeJeevesOptimizer::*)() const;

    struct State {
        KrScalarMultivariableFunction const* function = nullptr;  // null outside of a search
        double sign = 1.0;
        KrRealVector basePoint;  // the best point so far
        double baseValue = 0.0;  // signed, as all values
        KrRealVector trialPoint;
        double trialValue = 0.0;
        KrRealVector directionStart;  // trialPoint before the current direction
        KrRealVector stepSigns;       // the side to try first, per direction
        KrRealVector stepLengths;     // per coordinate
        KrReArray directions;         // row i is direction i: column i of the matrix
        std::uint64_t directionUpdates = 0;
        double totalReduction = 1.0;
        std::uint64_t budget = 0;  // of the current exploration
        bool searching = false;    // false as soon as the budget ends the search
        MoveOperation next = nullptr;
        bool moving = false;  // while runMoves is on the call stack
    };

    double search(double sign, KrScalarMultivariableFunction const& f, KrRealVector const& start,
                  KrRealVector& result) const;
    void runMoves(MoveOperation next) const;
    void acceptTrial() const;
    bool checkBudget() const;
    bool exploreDirection(KrU32 i, bool alongAxis) const;
    bool trialImproves() const;

    KrXmlBasicType<double> reductionFactor_{0.5};
    KrXmlBasicType<double> minTotalReduction_{0.001};
    KrXmlBasicType<KrU32> maxFunctionEvaluations_{300};
    KrXmlRealVector edgeLengths_;
    KrXmlBasicType<double> defaultEdgeLength_{0.01};
    KrXmlEnumType<KrU32> directionsMode_{NONE};

    mutable KrScratch<State> state_;
    mutable KrUncompared<std::uint64_t> evaluations_;  // charged to the budget
};
