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

class KrFrozenGrid;
namespace KrSegments {
template <class Value>
class Table;
}  // namespace KrSegments
template <class Value>
class KR_EXPORT KrInterpolator;

/// Locates a value x in a strictly monotone table of breakpoints v[0], v[1], ..., ascending
/// or descending. The result is two neighbouring breakpoints i and i+1, and their weights 1-f
/// and f with
///
///     f = (x - v[i]) / (v[i+1] - v[i]),
///
/// Data y over the table has the interpolated value (1-f) y[i] + f y[i+1]. "Lower" means the
/// first and "upper" the last breakpoint as stored, whichever is smaller. At an end and beyond
/// it, the weights are 1 and 0 ("limit") or those of the end segment ("extrapolate").
///
/// The strategies for a value inside the table:
/// - linear: walks from the segment found last, for arguments that vary slowly. It walks down
///   while the segment begins above x, then up while x is more than 1.0 above the first
///   breakpoint of the segment. If breakpoints are closer than 1.0, it stays in its segment and
///   extrapolates it until x is 1.0 away: the slope along a trajectory does not change at
///   every breakpoint. If they are further apart, it moves on to the next segment early and
///   extrapolates that one backwards. From the first and the last segment, and on the first
///   look-up, it bisects.
/// - bisection: halves the table. A value equal to a breakpoint belongs to the segment that
///   begins there.
/// - equal_spaced: i is (x - v[0]) / (v[1] - v[0]) truncated and clamped to the table, or 0 if
///   the quotient is NaN or infinite.
///
/// The table is not checked. If it is not monotone, a look-up finds some segment of it. If it
/// has one breakpoint, the weights are 1 and 0 and both indices 0 for every x. If it is empty,
/// or x is NaN and there are two breakpoints or more, the weights are NaN.
///
/// Cost: one division, no allocation. linear adds one step for each segment that x has moved,
/// bisection at most log2 of the table's size, equal_spaced another division. From 16 breakpoints
/// on, `init` divides the range into even cells, in 8 bytes for each breakpoint. If the breakpoints
/// are about evenly spaced, a bisection begins in the cell of x and takes one or two steps.
///
/// A const look-up still writes its result into the object: use one object per thread. Copies share
/// the breakpoints, which never change, and nothing else.
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

    /// Sets the breakpoints and the options, and discards the last look-up.
    virtual void init(std::vector<Value> const& vector, BOUNDARY_OPTION lowerBoundaryOption,
                      BOUNDARY_OPTION upperBoundaryOption, SEARCH_OPTION searchOption);

    /// Locates `value`. `getIndex` and `getWeight` return the result. If the search option is
    /// none of the three, it prints a message and uses the segment found last.
    virtual void lookUp(Value value) const;

    /// The number of breakpoints.
    virtual KrU32 size() const;

    /// The indices of the two breakpoints that the last look-up found.
    virtual void getIndex(KrU32& index, KrU32& upperIndex) const;

    /// The weights of these breakpoints, both 0 before the first look-up.
    virtual void getWeight(Value& lowerWeight, Value& upperWeight) const;

    /// The smaller and the larger end of the table, INF and -INF if it is empty.
    virtual void getBounds(Value& low, Value& high) const;

    /// Whether the table extrapolates at its smaller and at its larger end.
    virtual void getLimitOrExtrapolate(KrBoolean& atLow, KrBoolean& atHigh) const;

    /// A search without breakpoints, by value.
    static KrVectorSearch nullObject() { return KrVectorSearch(); }

    /// Compares breakpoints and options, not the last look-up. A table with a NaN, or with two
    /// equal infinities at its beginning, equals no table.
    bool operator==(KrVectorSearch const& other) const;

private:
    friend class KrInterpolator<Value>;
    friend class KrFrozenGrid;

    // The result of a look-up: the segment, and the weight f of its upper end.
    struct Location {
        std::int64_t index = -1;  // before the first look-up
        Value fraction = std::numeric_limits<Value>::quiet_NaN();
    };

    std::span<Value const> breakpoints() const { return {vector_, size_}; }

    // The segment that several look-ups in a row have found. With every strategy, a value with
    // low <= s x < high (s the direction) is in it. If low is infinity, no segment is cached.
    static constexpr Value infinity = std::numeric_limits<Value>::infinity();
    struct Segment {
        Value low = infinity;
        Value high = 0.0;
        Value origin = 0.0;  // v[index]
        Value width = 0.0;   // v[index + 1] - v[index]
    };

    Location locate(Value x) const;
    Location search(Value x, Value sx) const;
    Location store(std::int64_t index, Value fraction) const;
    Location weigh(std::int64_t index, Value x) const;
    Location weighLastSegment(Value x) const;
    void cacheSegment() const;
    std::int64_t walk(Value x, Value sx) const;
    std::int64_t bisect(Value x, Value sx) const;
    std::int64_t bisectLong(Value x) const;
    std::int64_t indexBySpacing(Value x) const;

    std::shared_ptr<KrSegments::Table<Value> const> table_;
    Value const* vector_ = nullptr;  // the breakpoints in the table
    std::size_t size_ = 0;
    std::int64_t maxIndex_ = 0;  // the last segment, or 0 if there is none
    Value direction_ = 1.0;      // -1 for a descending table
    Value spacing_ = 0.0;
    BOUNDARY_OPTION lowerBoundaryOption_ = LIMIT;
    BOUNDARY_OPTION upperBoundaryOption_ = LIMIT;
    SEARCH_OPTION searchOption_ = LINEAR;
    bool monotone_ = false;  // strictly: every search finds the same segment
    bool isLong_ = false;    // the table has more than its breakpoints
    static constexpr std::uint32_t repeatsBeforeCaching = 3;
    mutable std::uint32_t repeats_ = 0;  // look-ups in a row that found the same segment again
    mutable Segment segment_;
    mutable Location last_;
};

// In the header so that the interpolator inlines it.
template <class Value>
inline auto KrVectorSearch<Value>::locate(Value x) const -> Location {
    Value const sx = direction_ * x;
    if (segment_.low <= sx && sx < segment_.high) {
        last_.fraction = (x - segment_.origin) / segment_.width;
        return last_;
    }
    return search(x, sx);
}

extern template class KrVectorSearch<double>;
