#pragma once

#include "foundation/core/KrMember.h"
#include "function/optimizer/KrScalarMultivariableOptimizer.h"

/// Base of the optimizer `Method`, which supplies a search for a minimum of sign f:
///
///     double search(double sign, KrScalarMultivariableFunction const& f,
///                   KrRealVector const& start, KrRealVector& result) const;
///
/// A search for a minimum has sign +1.0, one for a maximum -1.0. `search` returns the
/// signed value at `result`. It may be private if this base is a friend.
///
/// If the function starts another search on the same object, a clone runs that search.
/// The outer search keeps its working state.
template <class Method>
class KR_EXPORT KrMinimisingOptimizer : public KrScalarMultivariableOptimizer {
public:
    using KrScalarMultivariableOptimizer::KrScalarMultivariableOptimizer;

    double findMinimum(KrScalarMultivariableFunction const& f, KrRealVector const& start,
                       KrRealVector& result) const override {
        return minimise(1.0, f, start, result);
    }
    double findMaximum(KrScalarMultivariableFunction const& f, KrRealVector const& start,
                       KrRealVector& result) const override {
        return -minimise(-1.0, f, start, result);
    }

    bool operator==(KrMinimisingOptimizer const&) const = default;

private:
    double minimise(double sign, KrScalarMultivariableFunction const& f, KrRealVector const& start,
                    KrRealVector& result) const {
        auto const& method = static_cast<Method const&>(*this);
        KrOwned<Method> const clone(*searching_ ? KrOwned<Method>::cloneOf(&method) : nullptr);
        if (clone) {
            return clone->minimise(sign, f, start, result);
        }
        struct Searching {
            explicit Searching(bool& flag) : flag_(flag) { flag_ = true; }
            ~Searching() { flag_ = false; }  // also if the function throws
            bool& flag_;
        } const searching(*searching_);
        return method.search(sign, f, start, result);
    }

    mutable KrScratch<bool> searching_;
};
