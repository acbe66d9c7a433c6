#include "function/composite/KrVectorSearch.h"

#include "foundation/core/KrPrint.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

template <class Value>
KrVectorSearch<Value>* KrVectorSearch<Value>::clone() const {
    return new KrVectorSearch(*this);
}

template <class Value>
void KrVectorSearch<Value>::init(std::vector<Value> const& vector,
                                 BOUNDARY_OPTION lowerBoundaryOption,
                                 BOUNDARY_OPTION upperBoundaryOption, SEARCH_OPTION searchOption) {
    *this = KrVectorSearch();
    lowerBoundaryOption_ = lowerBoundaryOption;
    upperBoundaryOption_ = upperBoundaryOption;
    searchOption_ = searchOption;
    found_.index = -1;
    size_ = vector.size();
    auto const copy = std::make_shared<Value[]>(size_);
    std::ranges::copy(vector, copy.get());
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
    index = static_cast<KrU32>(found_.index);
    upperIndex = size_ < 2 ? 0 : index + 1;
}

template <class Value>
void KrVectorSearch<Value>::getWeight(Value& lowerWeight, Value& upperWeight) const {
    lowerWeight = found_.lowerWeight;
    upperWeight = found_.upperWeight;
}

template <class Value>
void KrVectorSearch<Value>::getBounds(Value& low, Value& high) const {
    if (size_ == 0) {
        low = high = std::numeric_limits<Value>::quiet_NaN();
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
    return std::ranges::equal(breakpoints(), other.breakpoints()) && maxIndex_ == other.maxIndex_ &&
           direction_ == other.direction_ && lowerBoundaryOption_ == other.lowerBoundaryOption_ &&
           upperBoundaryOption_ == other.upperBoundaryOption_ &&
           searchOption_ == other.searchOption_ && spacing_ == other.spacing_;
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
auto KrVectorSearch<Value>::locateInFewerThanTwo() const -> Bracket const& {
    Value const nan = std::numeric_limits<Value>::quiet_NaN();
    return size_ == 1 ? found(0, 1.0, 0.0) : found(0, nan, nan);
}

template <class Value>
auto KrVectorSearch<Value>::weighWithoutOption(Value x) const -> Bracket const& {
    Kr::Print::instance().write(Kr::PrintType::Error,
                                "KrVectorSearch Error -- Search option not defined:  %d",
                                searchOption_);
    if (found_.index < 0) {  // nothing was found yet
        Value const nan = std::numeric_limits<Value>::quiet_NaN();
        return found(-1, nan, nan);
    }
    return weigh(found_.index, x);
}

template class KrVectorSearch<double>;
