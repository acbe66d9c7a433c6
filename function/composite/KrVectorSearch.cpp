#include "function/composite/KrVectorSearch.h"

#include "foundation/core/KrPrint.h"
#include "function/composite/internal/KrSegments.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>

KR_SOURCE_VERSION;

template <class Value>
KrVectorSearch<Value>* KrVectorSearch<Value>::clone() const {
    return new KrVectorSearch(*this);
}

template <class Value>
void KrVectorSearch<Value>::init(std::vector<Value> const& vector,
                                 BOUNDARY_OPTION lowerBoundaryOption,
                                 BOUNDARY_OPTION upperBoundaryOption, SEARCH_OPTION searchOption) {
    bool const ascending = vector.size() > 1 && vector[1] > vector[0];
    auto const outOfOrder = [ascending](Value a, Value b) {
        return ascending ? !(a < b) : !(a > b);
    };
    bool const monotone =
        vector.size() > 1 && std::ranges::adjacent_find(vector, outOfOrder) == vector.end();
    // May throw: before any change.
    auto const table = std::make_shared<KrSegments::Table<Value> const>(vector, monotone);
    *this = KrVectorSearch();
    lowerBoundaryOption_ = lowerBoundaryOption;
    upperBoundaryOption_ = upperBoundaryOption;
    searchOption_ = searchOption;
    size_ = vector.size();
    table_ = table;
    vector_ = table->data();
    if (size_ < 2) {
        return;
    }
    maxIndex_ = static_cast<std::int64_t>(size_) - 2;
    spacing_ = vector_[1] - vector_[0];
    direction_ = ascending ? 1.0 : -1.0;
    monotone_ = monotone;
    isLong_ = table->isLong();
}

template <class Value>
void KrVectorSearch<Value>::lookUp(Value value) const {
    locate(value);
}

template <class Value>
KrU32 KrVectorSearch<Value>::size() const {
    return static_cast<KrU32>(size_);
}

template <class Value>
void KrVectorSearch<Value>::getIndex(KrU32& index, KrU32& upperIndex) const {
    index = size_ < 2 ? 0 : static_cast<KrU32>(last_.index);
    upperIndex = size_ < 2 ? 0 : index + 1;
}

template <class Value>
void KrVectorSearch<Value>::getWeight(Value& lowerWeight, Value& upperWeight) const {
    bool const nothingFound = last_.index < 0;
    lowerWeight = nothingFound ? 0.0 : 1.0 - last_.fraction;
    upperWeight = nothingFound ? 0.0 : last_.fraction;
}

template <class Value>
void KrVectorSearch<Value>::getBounds(Value& low, Value& high) const {
    if (size_ == 0) {  // an empty box, which leaves a union with another box unchanged
        low = std::numeric_limits<Value>::infinity();
        high = -low;
        return;
    }
    low = breakpoints().front();
    high = breakpoints().back();
    if (low > high) {
        std::swap(low, high);
    }
}

template <class Value>
void KrVectorSearch<Value>::getLimitOrExtrapolate(KrBoolean& atLow, KrBoolean& atHigh) const {
    atLow = lowerBoundaryOption_ != LIMIT;
    atHigh = upperBoundaryOption_ != LIMIT;
    if (direction_ < 0.0) {
        std::swap(atLow, atHigh);
    }
}

template <class Value>
bool KrVectorSearch<Value>::operator==(KrVectorSearch const& other) const {
    // The spacing of two equal infinities is NaN: such a table compares equal to no table.
    return std::ranges::equal(breakpoints(), other.breakpoints()) && spacing_ == other.spacing_ &&
           lowerBoundaryOption_ == other.lowerBoundaryOption_ &&
           upperBoundaryOption_ == other.upperBoundaryOption_ &&
           searchOption_ == other.searchOption_;
}

template <class Value>
auto KrVectorSearch<Value>::search(Value x, Value sx) const -> Location {
    if (size_ < 2) {
        return store(0, size_ == 1 ? 0.0 : std::numeric_limits<Value>::quiet_NaN());
    }
    if (direction_ * vector_[0] >= sx) {
        return lowerBoundaryOption_ == LIMIT ? store(0, 0.0) : weigh(0, x);
    }
    if (sx >= direction_ * vector_[maxIndex_ + 1]) {
        return upperBoundaryOption_ == LIMIT ? store(maxIndex_, 1.0) : weigh(maxIndex_, x);
    }
    switch (searchOption_) {
        case LINEAR: return weigh(walk(x, sx), x);
        case BISECTION: return weigh(bisect(x, sx), x);
        case EQUAL_SPACED: return weigh(indexBySpacing(x), x);
    }
    return weighLastSegment(x);
}

// Stores a result. It counts repeats without a branch: random values on a coarse axis repeat
// their segment at random, so that a branch would be mispredicted.
template <class Value>
inline auto KrVectorSearch<Value>::store(std::int64_t index, Value fraction) const -> Location {
    bool const again = index == last_.index;
    repeats_ = again ? repeats_ + 1 : 0;
    segment_.low = again ? segment_.low : infinity;
    last_ = {index, fraction};
    if (repeats_ == repeatsBeforeCaching && monotone_) {
        cacheSegment();
    }
    return {index, fraction};
}

template <class Value>
inline auto KrVectorSearch<Value>::weigh(std::int64_t index, Value x) const -> Location {
    Value const* const v = vector_ + index;
    return store(index, (x - v[0]) / (v[1] - v[0]));
}

template <class Value>
auto KrVectorSearch<Value>::weighLastSegment(Value x) const -> Location {
    Location const location = last_.index < 0 ? last_ : weigh(last_.index, x);
    Kr::Print::instance().write(Kr::PrintType::Error,
                                "KrVectorSearch Error -- Search option not defined:  %d",
                                searchOption_);
    return location;
}

// Caches the segment of the last look-up.
template <class Value>
void KrVectorSearch<Value>::cacheSegment() const {
    std::int64_t const i = last_.index;
    Value const s = direction_;
    Value const* const v = vector_;
    segment_ = {s * v[i], s * v[i + 1], v[i], v[i + 1] - v[i]};
    if (i == 0) {  // the boundary option applies at the first breakpoint itself
        segment_.low = std::nextafter(segment_.low, infinity);
    }
    if (searchOption_ == LINEAR && i > 0 && i < maxIndex_) {  // the walk ends 1.0 above v[i]
        segment_.high = std::min(std::nextafter(s * v[i] + 1.0, infinity), s * v[maxIndex_ + 1]);
    } else if (searchOption_ == EQUAL_SPACED) {
        // Near a breakpoint, rounding can move the quotient to the next segment. The quotient
        // is monotone in sx, so that a test of both ends covers all values between them.
        Value const margin = (segment_.high - segment_.low) * 0x1p-10;
        segment_.low += margin;
        segment_.high -= margin;
        if (indexBySpacing(s * segment_.low) != i || indexBySpacing(s * segment_.high) != i) {
            segment_.low = infinity;
        }
    } else if (searchOption_ != BISECTION && searchOption_ != LINEAR) {
        segment_.low = infinity;  // not cached: each such look-up prints a message
    }
}

template <class Value>
inline std::int64_t KrVectorSearch<Value>::walk(Value x, Value sx) const {
    std::int64_t i = last_.index;
    if (i <= 0 || i >= maxIndex_) {
        return bisect(x, sx);
    }
    Value const s = direction_;
    Value const* const v = vector_;
    while (s * v[i] > sx && i > 0) {
        --i;
    }
    while (i < maxIndex_ && sx > s * v[i] + 1.0) {
        ++i;
    }
    return i;
}

template <class Value>
inline std::int64_t KrVectorSearch<Value>::bisect(Value x, Value sx) const {
    if (!monotone_) {
        return KrSegments::bisectUnordered(vector_, maxIndex_, direction_, sx);
    }
    if (isLong_) {
        return bisectLong(x);
    }
    auto const find = [&](auto isAbove) {
        std::array<std::size_t, 1> segment{0};
        KrSegments::halve(vector_, segment, size_ - 1, {x}, isAbove);
        return static_cast<std::int64_t>(segment[0]);
    };
    return direction_ > 0.0 ? find(std::greater<>()) : find(std::less<>());
}

// By itself, so that the search of a short table stays small enough to be inlined: that takes a
// tenth less in three dimensions.
template <class Value>
std::int64_t KrVectorSearch<Value>::bisectLong(Value x) const {
    if (std::isnan(x)) {
        return maxIndex_;
    }
    return direction_ > 0.0 ? table_->template bisect<1>({x}, std::greater<>())[0]
                            : table_->template bisect<1>({x}, std::less<>())[0];
}

template <class Value>
inline std::int64_t KrVectorSearch<Value>::indexBySpacing(Value x) const {
    return KrSegments::bySpacing(vector_, maxIndex_, spacing_, x);
}

template class KrVectorSearch<double>;
