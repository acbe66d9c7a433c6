#include "function/composite/KrFrozenFunction.h"

#include "foundation/core/KrPrint.h"
#include "function/composite/KrCompositeFunctionBranch.h"
#include "function/composite/KrTableFunctionInterpolator.h"
#include "function/composite/internal/KrFrozenGrid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <optional>
#include <typeinfo>
#include <utility>
#include <vector>

KR_SOURCE_VERSION;

namespace {

using Rows = KrFrozenGrid::Rows;
using Row = KrFrozenGrid::Row;

constexpr double infinity = std::numeric_limits<double>::infinity();

// The box of an element in one coordinate, and how far it may extrapolate.
struct Interval {
    double low, high;
    double least, most;
};

// Moves the rows that are selected behind those that are not, and returns the number of the
// latter. It has no branches, since they would be mispredicted.
template <class IsSelected>
std::size_t moveToEnd(std::span<Row> rows, IsSelected isSelected) {
    std::size_t others = 0;
    for (Row& row : rows) {
        Row const number = row;
        row = rows[others];
        rows[others] = number;
        others += !isSelected(number);
    }
    return others;
}

// Whether `rows` rows of `width` numbers have `size` numbers.
bool fits(std::size_t size, std::size_t rows, std::size_t width) {
    return width == 0 ? size == 0 : size % width == 0 && size / width == rows;
}

void refuse(char const* what, std::size_t size) {
    Kr::Print::instance().write(Kr::PrintType::Mismatch,
                                "A frozen function cannot be evaluated: the size of %s, %u, does "
                                "not fit.\n",
                                what, size);
}

}  // namespace

struct [[gnu::visibility("hidden")]] KrFrozenFunction::Core {
    // A table, or a branch: one of the two is set. Children that are missing are null.
    struct Node {
        std::optional<KrFrozenGrid> grid;
        std::array<std::unique_ptr<Node>, 2> children;
        std::vector<Interval> box;
    };

    bool add(KrInterpolator<double> const& table, Node& node);
    bool add(KrCompositeFunctionElement const& element, Node& node);
    static std::size_t evaluate(Node const& node, Rows const& rows, std::span<Row> numbers);

    Node top;
    std::size_t domainDim = 0;
    std::size_t valueCount = 0;
};

namespace {

// Whether a point is inside of the box. Like a live element, a box without the point's last
// coordinates does not contain it, and one with more contains it.
template <class Node>
bool contains(Node const& node, Rows const& rows, Row number) {
    double const* const x = rows.points + number * rows.pointSize;
    bool result = rows.pointSize <= node.box.size();
    for (std::size_t d = 0; result && d < rows.pointSize; ++d) {
        result = !(x[d] < node.box[d].low || x[d] > node.box[d].high);
    }
    return result;
}

// Whether a point outside of the box is where the element may extrapolate.
template <class Node>
bool reaches(Node const& node, Rows const& rows, Row number) {
    double const* const x = rows.points + number * rows.pointSize;
    bool result = rows.pointSize <= node.box.size() && !contains(node, rows, number);
    for (std::size_t d = 0; result && d < rows.pointSize; ++d) {
        result = !(x[d] < node.box[d].least || x[d] > node.box[d].most);
    }
    return result;
}

}  // namespace

bool KrFrozenFunction::Core::add(KrInterpolator<double> const& table, Node& node) {
    if (typeid(table) != typeid(KrInterpolator<double>)) {
        Kr::Print::instance().write(Kr::PrintType::Error,
                                    "An interpolator of a derived class cannot be frozen.\n");
        return false;
    }
    if (!KrFrozenGrid::isDefined(table)) {
        return false;
    }
    node.grid.emplace(table);
    domainDim = std::max(domainDim, node.grid->domainDim());
    valueCount = std::max(valueCount, node.grid->valueCount());
    return true;
}

bool KrFrozenFunction::Core::add(KrCompositeFunctionElement const& element, Node& node) {
    auto const& flags = element.limitOrExtrapolate();
    for (auto const& ends : element.bounds()) {
        std::size_t const d = node.box.size();
        bool const below = d < flags.size() && flags[d][0];
        bool const above = d < flags.size() && flags[d][1];
        node.box.push_back(
            {ends[0], ends[1], below ? -infinity : ends[0], above ? infinity : ends[1]});
    }
    if (typeid(element) == typeid(KrTableFunctionInterpolator)) {
        return add(static_cast<KrTableFunctionInterpolator const&>(element).interpolator_, node);
    }
    if (typeid(element) != typeid(KrCompositeFunctionBranch)) {
        Kr::Print::instance().write(Kr::PrintType::Error,
                                    "A table or branch of another class than the library's cannot "
                                    "be frozen: %s\n",
                                    element.token().text());
        return false;
    }
    auto const& branch = static_cast<KrCompositeFunctionBranch const&>(element);
    std::array const children{branch.left(), branch.right()};
    for (std::size_t i = 0; i < children.size(); ++i) {
        if (children[i]) {
            node.children[i] = std::make_unique<Node>();
            if (!add(*children[i], *node.children[i])) {
                return false;
            }
        }
    }
    return true;
}

// Evaluates the rows of these numbers. Those that no table answers stand first afterwards; their
// number is returned. Each child gets the rows that it would get in a live branch, in the same
// order. What is in a child's box was offered to it before, so it need not be remembered.
std::size_t KrFrozenFunction::Core::evaluate(Node const& node, Rows const& rows,
                                             std::span<Row> numbers) {
    if (node.grid) {
        node.grid->evaluate(rows, numbers);
        return 0;
    }
    std::size_t open = numbers.size();
    for (bool const beyond : {false, true}) {
        for (auto const& child : node.children) {
            if (!child || open == 0) {
                continue;
            }
            std::span<Row> const rest = numbers.first(open);
            std::size_t const others = moveToEnd(rest, [&](Row number) {
                return beyond ? reaches(*child, rows, number) : contains(*child, rows, number);
            });
            open = others + evaluate(*child, rows, rest.subspan(others));
        }
    }
    return open;
}

KrFrozenFunction::KrFrozenFunction(KrInterpolator<double> const& table) {
    auto const core = std::make_shared<Core>();
    if (core->add(table, core->top)) {
        core_ = core;
    }
}

KrFrozenFunction::KrFrozenFunction(KrCompositeFunctionElement const* element) {
    auto const core = std::make_shared<Core>();
    if (element && core->add(*element, core->top)) {
        core_ = core;
    }
}

std::size_t KrFrozenFunction::domainDim() const { return core_ ? core_->domainDim : 0; }

std::size_t KrFrozenFunction::valueCount() const { return core_ ? core_->valueCount : 0; }

KrBoolean KrFrozenFunction::evaluate(std::span<double const> x, std::span<double> y) const {
    return evaluatePoint(x, y, nullptr);
}

KrBoolean KrFrozenFunction::evaluateWithGradient(std::span<double const> x, std::span<double> y,
                                                 std::span<double> dy) const {
    if (std::size_t const n = domainDim(); n > 0 && dy.size() / n < valueCount()) {
        refuse("dy", dy.size());
        return false;
    }
    return evaluatePoint(x, y, dy.data());
}

KrBoolean KrFrozenFunction::evaluatePoint(std::span<double const> x, std::span<double> y,
                                          double* dy) const {
    if (!core_) {
        return false;
    }
    if (y.size() < core_->valueCount) {
        refuse("y", y.size());
        return false;
    }
    Rows const rows{x.data(), x.size(), y.data(), core_->valueCount, dy, core_->domainDim};
    if (core_->top.grid) {
        core_->top.grid->evaluate(rows);
        return true;
    }
    std::array<Row, 1> numbers{0};
    bool const isAnswered = Core::evaluate(core_->top, rows, numbers) == 0;
    if (!isAnswered) {
        KrFrozenGrid::setNaN(rows, 0, 0, core_->valueCount);
    }
    return isAnswered;
}

KrBoolean KrFrozenFunction::evaluateMany(std::span<double const> points, std::span<double> values,
                                         std::span<KrBoolean> answered) const {
    return evaluateBlock(points, values, nullptr, answered);
}

KrBoolean KrFrozenFunction::evaluateManyWithGradient(std::span<double const> points,
                                                     std::span<double> values,
                                                     std::span<double> gradients,
                                                     std::span<KrBoolean> answered) const {
    return evaluateBlock(points, values, &gradients, answered);
}

KrBoolean KrFrozenFunction::evaluateBlock(std::span<double const> points, std::span<double> values,
                                          std::span<double> const* gradients,
                                          std::span<KrBoolean> answered) const {
    std::size_t const n = domainDim();
    std::size_t const m = valueCount();
    std::size_t const count = n > 0 ? points.size() / n : m > 0 ? values.size() / m : 0;
    struct {
        char const* name;
        std::size_t size;
        bool isRight;
    } const sizes[] = {
        {"points", points.size(), fits(points.size(), count, n)},
        {"values", values.size(), fits(values.size(), count, m)},
        {"gradients", gradients ? gradients->size() : 0,
         !gradients || fits(gradients->size(), values.size(), n)},
        {"answered", answered.size(), answered.empty() || answered.size() == count},
    };
    for (auto const& [name, size, isRight] : sizes) {
        if (!isRight) {
            refuse(name, size);
            return false;
        }
    }
    std::ranges::fill(answered, true);
    constexpr std::size_t mostAtOnce = 1024;  // a group for each of 64 tables, in 4 KB
    std::array<Row, mostAtOnce> numbers;
    for (std::size_t first = 0; first < count; first += mostAtOnce) {
        std::span<Row> const block = std::span(numbers).first(std::min(count - first, mostAtOnce));
        std::iota(block.begin(), block.end(), 0U);
        Rows const rows{points.data() + first * n,
                        n,
                        values.data() + first * m,
                        m,
                        gradients ? gradients->data() + first * m * n : nullptr,
                        n};
        std::size_t const open = Core::evaluate(core_->top, rows, block);
        for (Row const number : block.first(open)) {
            KrFrozenGrid::setNaN(rows, number, 0, m);
            if (!answered.empty()) {
                answered[first + number] = false;
            }
        }
    }
    return true;
}
