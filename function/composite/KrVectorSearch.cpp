#include "function/composite/KrVectorSearch.h"

#include "foundation/core/KrPrint.h"

#include <algorithm>
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
    auto const copy = std::make_shared<Value[]>(vector.size());  // before anything is changed
    std::ranges::copy(vector, copy.get());
    *this = KrVectorSearch();
    lowerBoundaryOption_ = lowerBoundaryOption;
    upperBoundaryOption_ = upperBoundaryOption;
    searchOption_ = searchOption;
    size_ = vector.size();
    vector_ = copy;
    if (size_ < 2) {
        return;
    }
    maxIndex_ = static_cast<std::int64_t>(size_) - 2;
    spacing_ = vector[1] - vector[0];
    bool const ascending = vector[1] > vector[0];
    direction_ = ascending ? 1.0 : -1.0;
    auto const outOfOrder = [ascending](Value a, Value b) {
        return ascending ? !(a < b) : !(a > b);
    };
    monotone_ = std::ranges::adjacent_find(vector, outOfOrder) == vector.end();
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
    index = size_ < 2 ? 0 : static_cast<KrU32>(found_.index);
    upperIndex = size_ < 2 ? 0 : index + 1;
}

template <class Value>
void KrVectorSearch<Value>::getWeight(Value& lowerWeight, Value& upperWeight) const {
    bool const nothingFound = found_.index < 0;
    lowerWeight = nothingFound ? 0.0 : 1.0 - found_.fraction;
    upperWeight = nothingFound ? 0.0 : found_.fraction;
}

template <class Value>
void KrVectorSearch<Value>::getBounds(Value& low, Value& high) const {
    if (size_ == 0) {  // a box that holds nothing, and adds nothing to another
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
    // A spacing between equal infinities is NaN, and such a table equals none.
    return std::ranges::equal(breakpoints(), other.breakpoints()) && spacing_ == other.spacing_ &&
           lowerBoundaryOption_ == other.lowerBoundaryOption_ &&
           upperBoundaryOption_ == other.upperBoundaryOption_ &&
           searchOption_ == other.searchOption_;
}

template <class Value>
auto KrVectorSearch<Value>::locateAnew(Value x, Value sx) const -> Place {
    if (size_ < 2) {
        return found(0, size_ == 1 ? 0.0 : std::numeric_limits<Value>::quiet_NaN());
    }
    if (direction_ * vector_[0] >= sx) {
        return lowerBoundaryOption_ == LIMIT ? found(0, 0.0) : weigh(0, x);
    }
    if (sx >= direction_ * vector_[maxIndex_ + 1]) {
        return upperBoundaryOption_ == LIMIT ? found(maxIndex_, 1.0) : weigh(maxIndex_, x);
    }
    switch (searchOption_) {
        case LINEAR: return weigh(walk(x, sx), x);
        case BISECTION: return weigh(bisect(x, sx), x);
        case EQUAL_SPACED: return weigh(divide(x), x);
    }
    return weighWithoutOption(x);
}

// Counts without a branch: random values on a coarse axis come back to their segment now and
// then, and each test of that is a branch that no processor predicts.
template <class Value>
inline auto KrVectorSearch<Value>::found(std::int64_t index, Value fraction) const -> Place {
    bool const again = index == found_.index;
    repeats_ = again ? repeats_ + 1 : 0;
    segment_.low = again ? segment_.low : infinity;
    found_ = {index, fraction};
    if (repeats_ == enoughRepeats && monotone_) {
        remember();
    }
    return {index, fraction};
}

template <class Value>
inline auto KrVectorSearch<Value>::weigh(std::int64_t index, Value x) const -> Place {
    Value const* const v = vector_.get() + index;
    return found(index, (x - v[0]) / (v[1] - v[0]));
}

template <class Value>
auto KrVectorSearch<Value>::weighWithoutOption(Value x) const -> Place {
    Place const place = found_.index < 0 ? found_ : weigh(found_.index, x);
    Kr::Print::instance().write(Kr::PrintType::Error,
                                "KrVectorSearch Error -- Search option not defined:  %d",
                                searchOption_);
    return place;
}

// Sets the segment of the index that was found.
template <class Value>
void KrVectorSearch<Value>::remember() const {
    std::int64_t const i = found_.index;
    Value const s = direction_;
    Value const* const v = vector_.get();
    segment_ = {s * v[i], s * v[i + 1], v[i], v[i + 1] - v[i]};
    if (i == 0) {  // the first breakpoint itself is the boundary's
        segment_.low = std::nextafter(segment_.low, infinity);
    }
    if (searchOption_ == LINEAR && i > 0 && i < maxIndex_) {  // the walk stays, or leaves early
        segment_.high = std::min(std::nextafter(s * v[i] + 1.0, infinity), s * v[maxIndex_ + 1]);
    } else if (searchOption_ == EQUAL_SPACED) {
        // The quotient may change a little beside the breakpoints. It grows with sx,
        // so that what holds at both ends holds between them.
        Value const margin = (segment_.high - segment_.low) * 0x1p-10;
        segment_.low += margin;
        segment_.high -= margin;
        if (divide(s * segment_.low) != i || divide(s * segment_.high) != i) {
            segment_.low = infinity;
        }
    } else if (searchOption_ != BISECTION && searchOption_ != LINEAR) {
        segment_.low = infinity;  // each such look-up is to be reported
    }
}

template <class Value>
inline std::int64_t KrVectorSearch<Value>::walk(Value x, Value sx) const {
    std::int64_t i = found_.index;
    if (i <= 0 || i >= maxIndex_) {
        return bisect(x, sx);
    }
    Value const s = direction_;
    Value const* const v = vector_.get();
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
        return bisectAnyTable(sx);
    }
    // A value inside has one segment, and any halving finds it: this one has no
    // branches, since they could not be predicted.
    Value const* const v = vector_.get();
    auto const halve = [&](auto isAbove) {
        Value const* segment = v;
        for (std::int64_t count = maxIndex_ + 1; count > 1;) {
            std::int64_t const half = count / 2;
            segment = isAbove(segment[half]) ? segment : segment + half;
            count -= half;
        }
        return segment - v;
    };
    return direction_ > 0.0 ? halve([x](Value breakpoint) { return breakpoint > x; })
                            : halve([x](Value breakpoint) { return breakpoint < x; });
}

// Where the order is broken there may be several segments, and the one that
// these very steps lead to is the answer.
template <class Value>
std::int64_t KrVectorSearch<Value>::bisectAnyTable(Value sx) const {
    std::int64_t low = 0;
    std::int64_t high = maxIndex_ + 1;
    while (high - low > 1) {
        std::int64_t const middle = low + (high - low) / 2;
        (direction_ * vector_[middle] > sx ? high : low) = middle;
    }
    return low;
}

template <class Value>
inline std::int64_t KrVectorSearch<Value>::divide(Value x) const {
    Value const quotient = (x - vector_[0]) / spacing_;
    if (quotient < static_cast<Value>(maxIndex_)) {
        return quotient > 0.0 ? static_cast<std::int64_t>(quotient) : 0;
    }
    return std::isfinite(quotient) ? maxIndex_ : 0;  // rounding can lead out of the table
}

template class KrVectorSearch<double>;
