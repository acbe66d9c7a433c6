#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/math/KrReArray.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlEnumType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/optimizer/KrMinimisingOptimizer.h"
#include "function/optimizer/KrOptimizerTokens.h"

#include <cstdint>

/// The pattern search of Hooke and Jeeves, on one of four sets of directions.
///
/// An exploration tries a step along each direction, forward and then backward, and keeps
/// each step that lowers the value. If it succeeds, a pattern move repeats the whole
/// displacement from the base point, and the search explores around the new point. If it
/// fails, the steps contract. The search ends when the product of the contractions is below
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
/// | `ROTATED`        | rotated     | an identity matrix, of which two columns     |
/// |                  |             | rotate by 45° at each contraction but the    |
/// |                  |             | first                                        |
///
/// A text includes the namespace, as in the sample. Another mode is reported at the begin
/// of a search and at each contraction. It leaves the directions as they are, zeros at
/// first.
///
/// Every evaluation is charged, that at the start point included. A pattern move may exceed
/// the budget by one. A start point of another length than the dimension is reported. If it
/// is too short, it is filled with zeros. If it is too long, the function receives its last
/// components as they are. A NaN is not an improvement.
///
/// Cost beyond the function: a few operations per evaluation in mode "none". In the other
/// modes about 3n per evaluation and n² to n³ per contraction. Only the first search of a
/// dimension allocates: n² doubles.
///
/// Source: R. Hooke and T. A. Jeeves, "Direct search solution of numerical and
/// statistical problems", Journal of the ACM 8 (1961).
///
/// One thread at a time uses an object.
class KR_EXPORT KrHookeJeevesOptimizer
    : public KrTaggedElement<KrHookeJeevesOptimizer, KrMinimisingOptimizer<KrHookeJeevesOptimizer>,
                             KrFunction::KrHookeJeevesToken> {
public:
    /// The sets of directions, with the numbers of recorded settings.
    enum DIRECTIONS_MODE : KrU32 { NONE = 0, AXIS_ALIGNED = 1, RANDOM = 2, ROTATED = 3 };

    /// Factor of all steps at each contraction.
    /// Range: 0 < reductionFactor < 1, dimensionless; 0.5 by default. With 0 and negative values
    /// the search ends after one contraction. With 1 or more, NaN and infinity the steps never
    /// become small, and only the budget ends the search. Decrease it to 0.25 if the first steps
    /// may be far too long.
    virtual double reductionFactor() const { return reductionFactor_; }
    virtual void setReductionFactor(double factor) { reductionFactor_ = factor; }
    /// The search ends when the steps are smaller than this share of the first ones.
    /// Range: 0 < minTotalReduction <= 1, dimensionless; 0.001 by default. With 0, a negative value
    /// or NaN only the budget ends the search. Above 1 the first failed exploration ends it. Set it
    /// to the precision of x that you need, over the edge length.
    virtual double minTotalReduction() const { return minTotalReduction_; }
    virtual void setMinTotalReduction(double reduction) { minTotalReduction_ = reduction; }
    /// Largest number of evaluations, that at the start point included.
    /// Range: 2 to 4294967295; 300 by default. With 0 and 1 only the start point is evaluated. A
    /// pattern move may exceed the budget by one. Set it to 50 (n + 1) or more.
    virtual KrU32 maxFunctionEvaluations() const { return maxFunctionEvaluations_; }
    virtual void setMaxFunctionEvaluations(KrU32 count) { maxFunctionEvaluations_ = count; }
    /// First step along coordinate i, or the unit of coordinate i in modes with a matrix.
    /// Range: finite and not 0, in units of coordinate i; empty by default. Lengths beyond n are
    /// ignored. With 0 the search never moves along the coordinate. A negative length tries the
    /// backward step first. With NaN or infinity the coordinate's steps fail; in modes with a
    /// matrix all steps fail. Set it to about a tenth of the coordinate's size.
    virtual KrXmlRealVector const& edgeLengths() const { return edgeLengths_; }
    virtual void setEdgeLengths(KrXmlRealVector const& lengths) { edgeLengths_ = lengths; }
    /// First step along each coordinate that `edgeLengths` does not list.
    /// Range: finite and not 0, in units of the coordinates; 0.01 by default. Other values act as
    /// in `edgeLengths`. Change it if the coordinates are of one size other than about 0.1.
    virtual double defaultEdgeLength() const { return defaultEdgeLength_; }
    virtual void setDefaultEdgeLength(double length) { defaultEdgeLength_ = length; }
    /// The set of directions: `none` the coordinate axes, `axisAligned` the
    /// axes as a matrix, `random` orthonormal and redrawn at each contraction, `rotated` turned
    /// pairwise.
    /// Range: these four; `none` by default. Choose `rotated` or `random` if the function has a
    /// valley across the axes and `none` stalls.
    virtual KrU32 directionsMode() const { return directionsMode_; }
    /// Sets a `DIRECTIONS_MODE`. Other numbers are reported, and the directions stay as they are,
    /// zeros at first.
    virtual void setDirectionsMode(KrU32 mode) { directionsMode_ = mode; }

    // The steps of a search, on the working state. They evaluate the function of `initialize`.
    // Before it, and after a search, they evaluate nothing.

    /// Prepares a search from `start` and evaluates there. `sign` is +1.0 for a minimum and
    /// -1.0 for a maximum. `scale` has no effect: the steps have the configured lengths.
    virtual void initialize(double sign, KrScalarMultivariableFunction const& f,
                            KrRealVector const& start, double scale) const;

    // The three moves of a search. Each continues with the next one, without recursion. The
    // call of the first move returns at the end of the search.

    /// Explores around the base point.
    virtual void newExploratoryMove() const;
    /// Makes the explored point the base, repeats the displacement to it, and explores around
    /// the point reached.
    virtual void transitionalMove() const;
    /// Shortens the steps and updates the directions.
    virtual void patternContraction() const;

    /// Explores around the trial point. Returns whether its value was lowered.
    virtual bool explore() const;
    /// Initialises the directions for a new search.
    virtual void initializeDirections() const;
    /// Updates the directions according to the mode.
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
