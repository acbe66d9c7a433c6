#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"
#include "function/composite/KrVectorSearchEnums.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <vector>

template <class Value>
class KR_EXPORT KrInterpolator;

/// Locates a value x in one strictly monotone table of breakpoints v[0], v[1],
/// ..., ascending or descending: yields the two neighbouring breakpoints i and
/// i+1, and their weights 1-f and f with
///
///     f = (x - v[i]) / (v[i+1] - v[i]),
///
/// so that data y over the table has the interpolated value
/// (1-f) y[i] + f y[i+1]. "Lower" and "upper" mean the first and the last
/// breakpoint as stored, whichever is the smaller. At an end and beyond it, the
/// weights are 1 and 0 ("limit") or those of the end segment ("extrapolate").
///
/// The strategies for a value inside the table:
/// - linear: walks from the segment found last, for arguments that vary slowly.
///   It walks down while the segment begins above x, and then up while x lies
///   more than 1.0 above the segment's first breakpoint. Where breakpoints are
///   closer than 1.0, it therefore stays and extrapolates from the segment it
///   is in, until x is 1.0 away: the slope that a trajectory sees does not
///   change at every breakpoint. Where they are further apart, it goes on to the
///   next segment early and extrapolates from that backwards. From the first and
///   the last segment, and at first, it bisects.
/// - bisection: a value equal to a breakpoint belongs to the segment that begins
///   there.
/// - equal_spaced: i = (x - v[0]) / (v[1] - v[0]) without its fraction, held
///   inside the table; 0 when the quotient is NaN or infinite.
///
/// Nothing is required of the table: one that is not monotone gives some
/// segment of it, a table of one breakpoint is a constant (weights 1 and 0, both
/// indices 0) whatever the query, and an empty one gives NaN weights, as does a NaN
/// query of a longer one.
///
/// A look-up allocates nothing. It costs a division, and for linear as many
/// steps as the value has moved, for bisection log2 of the table's size, for
/// equal_spaced another division. It writes its outcome into the object, const
/// or not: one object is for one thread. Copies share the breakpoints, which
/// never change, and nothing else.
///
/// Instantiated for `double`.
template <class Value>
class KR_EXPORT KrVectorSearch : public KrVectorSearchEnums {
public:
    KrVectorSearch() = default;
    KrVectorSearch(KrVectorSearch const&) = default;
    KrVectorSearch& operator=(KrVectorSearch const&) = default;
    virtual ~KrVectorSearch() = default;

    /// A copy on the heap, owned by the caller.
    virtual KrVectorSearch* clone() const;

    /// Takes the breakpoints and the options, and forgets the last look-up.
    virtual void init(std::vector<Value> const& vector, BOUNDARY_OPTION lowerBoundaryOption,
                      BOUNDARY_OPTION upperBoundaryOption, SEARCH_OPTION searchOption);

    /// Locates `value`; the next two tell the outcome. A search option that is
    /// none is reported, and the segment found last is used.
    virtual void lookUp(Value value) const;

    /// The number of breakpoints.
    virtual KrU32 size() const;

    /// The two breakpoints that the last look-up found.
    virtual void getIndex(KrU32& index, KrU32& upperIndex) const;

    /// Their weights.
    virtual void getWeight(Value& lowerWeight, Value& upperWeight) const;

    /// The smaller and the larger end of the table; INF and -INF of an empty one, which
    /// has nothing between them.
    virtual void getBounds(Value& low, Value& high) const;

    /// Whether the table extrapolates at its smaller and at its larger end.
    virtual void getLimitOrExtrapolate(KrBoolean& atLow, KrBoolean& atHigh) const;

    /// One without breakpoints, by value.
    static KrVectorSearch nullObject() { return KrVectorSearch(); }

    /// Compares breakpoints and options, not the last look-up.
    bool operator==(KrVectorSearch const& other) const;

private:
    friend class KrInterpolator<Value>;

    // The outcome of a look-up: the segment, and the weight of its upper end. The
    // weight of its lower end is what is left of 1.
    struct Place {
        std::int64_t index = -1;  // nothing found yet
        Value fraction = std::numeric_limits<Value>::quiet_NaN();
    };

    std::span<Value const> breakpoints() const { return {vector_.get(), size_}; }

    // The segment found last, when the look-ups before had found it too: whatever
    // the strategy, a value with low <= s x < high (s the direction) is in it.
    // None of them is in one that begins at infinity, as on a table that is not
    // strictly monotone.
    static constexpr Value infinity = std::numeric_limits<Value>::infinity();
    struct Segment {
        Value low = infinity;
        Value high = 0.0;
        Value origin = 0.0;  // v[index]
        Value width = 0.0;   // v[index + 1] - v[index]
    };

    Place locate(Value x) const;
    Place locateAnew(Value x, Value sx) const;
    Place found(std::int64_t index, Value fraction) const;
    Place weigh(std::int64_t index, Value x) const;
    Place weighWithoutOption(Value x) const;
    void remember() const;
    std::int64_t walk(Value x, Value sx) const;
    std::int64_t bisect(Value x, Value sx) const;
    std::int64_t bisectAnyTable(Value sx) const;
    std::int64_t divide(Value x) const;

    std::shared_ptr<Value const[]> vector_;
    std::size_t size_ = 0;
    std::int64_t maxIndex_ = 0;  // the last segment; 0 when there is none
    Value direction_ = 1.0;      // -1 for a descending table
    Value spacing_ = 0.0;
    BOUNDARY_OPTION lowerBoundaryOption_ = LIMIT;
    BOUNDARY_OPTION upperBoundaryOption_ = LIMIT;
    SEARCH_OPTION searchOption_ = LINEAR;
    // Strictly: a value inside has one segment, however it is searched for.
    bool monotone_ = false;
    static constexpr std::uint32_t enoughRepeats = 3;
    mutable std::uint32_t repeats_ = 0;  // look-ups since the segment was found first
    mutable Segment segment_;
    mutable Place found_;
};

// Here for the interpolator, which compiles it in.
template <class Value>
inline auto KrVectorSearch<Value>::locate(Value x) const -> Place {
    Value const sx = direction_ * x;
    if (segment_.low <= sx && sx < segment_.high) {
        found_.fraction = (x - segment_.origin) / segment_.width;
        return found_;
    }
    return locateAnew(x, sx);
}

extern template class KrVectorSearch<double>;
