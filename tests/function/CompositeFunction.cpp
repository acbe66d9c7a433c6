// Tables and branches as elements, and the container that owns a tree of them.

#include "foundation/xml/KrXml.h"
#include "function/composite/KrCompositeFunctionBranch.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/composite/KrTableFunctionInterpolator.h"
#include "function/object/KrFunction.h"
#include "function/object/KrValueTypes.h"
#include "function/scalar/KrMultipointScalarFunction.h"
#include "tests/support/Allocations.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/SmallStack.h"
#include "tests/support/Texts.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using Branch = KrCompositeFunctionBranch;
using Container = KrCompositeFunctionContainer;
using Table = KrTableFunctionInterpolator;
using Bounds = KrCompositeFunctionElement::Bounds;
using Flags = KrCompositeFunctionElement::Flags;
using Enums = KrVectorSearchEnums;

// One variable of a table, and the ends at which the table extrapolates.
struct Axis {
    double low, high;
    bool goesBelow = false, goesAbove = false;
};

Table table(std::vector<Axis> const& axes, KrRealVector const& values) {
    Table result;
    for (Axis const& axis : axes) {
        KrTableFunctionVectorSearch search;
        search.independentVector({axis.low, axis.high});
        search.lowerBoundaryOption(axis.goesBelow ? Enums::EXTRAPOLATE : Enums::LIMIT);
        search.upperBoundaryOption(axis.goesAbove ? Enums::EXTRAPOLATE : Enums::LIMIT);
        result.independentDataPushBack(search);
    }
    result.dependentDataPushBack(values);
    result.init();
    return result;
}

// A table over [low, high] with the values `a` and `b` at its ends.
Table table(double low, double high, double a, double b,
            Enums::BOUNDARY_OPTION boundary = Enums::LIMIT) {
    bool const beyond = boundary != Enums::LIMIT;
    return table({{low, high, beyond, beyond}}, {a, b});
}

// Of two variables, with the same value everywhere.
Table flat(Axis const& x, Axis const& y, double value) {
    return table({x, y}, KrRealVector(4, value));
}

Branch branch(KrCompositeFunctionElement const& left, KrCompositeFunctionElement const& right) {
    Branch result;
    result.setLeft(left);
    result.setRight(right);
    return result;
}

KrToken const holderToken("holder");
struct Holder : KrElement<Holder, Table, holderToken> {
    Container held;
};

Container container(KrCompositeFunctionElement const& top) {
    Container result;
    result.setTopElement(top);
    return result;
}

std::string branchText(std::string const& children) {
    return component("compositeFunctionBranch", children);
}

std::string tableText(std::string const& low, std::string const& high, std::string const& value) {
    std::string const breakpoints = component("independentVector", item(low) + item(high));
    return component(
        "tableFunctionInterpolator",
        component("independentData", component("tableFunctionVectorSearch", breakpoints)) +
            component("dependentData", item(item(value) + item(value))));
}

// "ok" or "no", and the values.
std::string answer(Container const& f, KrRealVector const& point, KrRealVector y = {-1}) {
    KrBoolean ok = true;
    f.evaluate(point, y, ok);
    std::string text = ok ? "ok" : "no";
    for (double const value : y) {
        std::ostringstream number;
        number << value;
        text += ' ' + number.str();
    }
    return text;
}

// Whether every element of the tree knows `owner` as its container.
bool treeKnows(KrCompositeFunctionElement const* element,
               KrXmlBaseVariableCompoundType const* owner) {
    if (!element) {
        return true;
    }
    auto const* const inner = dynamic_cast<Branch const*>(element);
    return element->container() == owner &&
           (!inner || (treeKnows(inner->left(), owner) && treeKnows(inner->right(), owner)));
}

TEST(VectorSearchElement, IsReadyAfterReading) {
    KrTableFunctionVectorSearch search;
    ASSERT_TRUE(KrXml::fromString(
        "<tableFunctionVectorSearch xmlns='urn:zeibreku:function#' searchOption='bisection' "
        "upperBoundaryOption='extrapolate'><independentVector><item>0</item><item>1</item>"
        "<item>2</item></independentVector></tableFunctionVectorSearch>",
        search));
    double lower = 0.0;
    double upper = 0.0;
    search.dimension().lookUp(3.0);
    search.dimension().getWeight(lower, upper);
    EXPECT_EQ(upper, 2.0);
    search.independentVector({0, 1});
    EXPECT_EQ(search.dimension().size(), 3u);  // not before `init`
}

TEST(CompositeFunction, BranchEvaluatesTheChildThatCoversThePoint) {
    auto const limit = Enums::LIMIT;
    auto const beyond = Enums::EXTRAPOLATE;
    Table const left = table(0, 1, 0, 10);
    Table const apart = table(2, 3, 20, 30, beyond);
    struct {
        KrCompositeFunctionElement const& left;
        KrCompositeFunctionElement const& right;
        KrRealVector point;
        char const* answer;
    } const cases[] = {
        {left, table(1, 2, 100, 200, beyond), {1}, "ok 10"},
        {left, table(1, 2, 100, 200, beyond), {1.5}, "ok 150"},
        {left, table(1, 2, 100, 200, beyond), {3}, "ok 300"},
        {left, table(1, 2, 100, 200, limit), {3}, "no"},
        {left, apart, {1.5}, "ok 15"},
        {left, apart, {-1}, "ok -10"},
        {table(0, 1, 7, 7, beyond), apart, {1.5}, "ok 7"},  // the left one first
        {apart, left, {0.5}, "ok 5"},                       // the box before extrapolation
        {branch(left, table(2, 3, 7, 7)), apart, {1.5}, "ok 15"},
        {left, apart, {}, "ok nan"},  // every box contains a point without coordinates
        {left, apart, {0.5, 1}, "no"},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(answer(container(branch(c.left, c.right)), c.point, {}), c.answer) << &c - cases;
    }
    EXPECT_EQ(answer(container(left), {0.5, 1}), "ok 5");  // a table alone answers everywhere
    EXPECT_EQ(answer(Container(), {1}), "no -1");
    Table again = left;
    again.init();  // anew, not in addition
    EXPECT_EQ(answer(container(again), {0.5}), "ok 5");
    // A missing child is skipped, and its box is empty.
    Branch half;
    half.setRight(left);
    EXPECT_EQ(answer(container(half), {0.5}, {}), "no");
    half.right()->initBounds();
    KrBoolean ok = false;
    EXPECT_EQ(half.evaluate({0.5}, ok), (KrRealVector{5}));
    EXPECT_TRUE(ok);
    EXPECT_TRUE(half.initBounds().empty());
}

TEST(CompositeFunction, StaleValuesStayAndAreCompared) {
    Container const f = container(branch(table(0, 1, 0, 10), table(2, 3, 20, 30)));
    Container const fresh(f);
    EXPECT_TRUE(f == fresh);
    EXPECT_EQ(answer(f, {0.5}), "ok 5");
    EXPECT_EQ(answer(f, {9}), "no 5");
    EXPECT_FALSE(f == fresh);
    EXPECT_EQ(answer(fresh, {9}), "no");
    EXPECT_EQ(answer(fresh, {0.5}), "ok 5");
    EXPECT_TRUE(f == fresh);
    // A child that cannot evaluate the point returns its last values.
    Container const nested =
        container(branch(branch(table(0, 1, 0, 10), table(2, 3, 20, 30)), table(5, 6, 50, 60)));
    EXPECT_EQ(answer(nested, {0.5}), "ok 5");
    EXPECT_EQ(answer(nested, {5}), "ok 50");
    EXPECT_EQ(answer(nested, {4}), "no 50");
    EXPECT_EQ(answer(nested, {1.5}), "no 5");
}

TEST(CompositeFunction, EachFaceOfABoxCountsByItself) {
    struct {
        std::vector<Axis> axes;
        KrRealVector point;
        bool isInBounds, ableToExtrap;
    } const cases[] = {
        {{{0, 1, true, false}}, {-1}, false, true},
        {{{0, 1, true, false}}, {2}, false, false},
        {{{0, 1, false, true}}, {-1}, false, false},
        {{{0, 1, false, true}}, {2}, false, true},
        {{{1, 0, true, false}}, {2}, false, true},  // the first breakpoint is the largest
        {{{0, 1, true, true}, {5, 6}}, {0.5, 5.5}, true, true},
        {{{0, 1, true, true}, {5, 6}}, {9, 5.5}, false, true},
        {{{0, 1, true, true}, {5, 6}}, {0.5, 9}, false, false},
    };
    for (auto const& c : cases) {
        Table f = table(c.axes, KrRealVector(std::size_t{1} << c.axes.size()));
        f.initBounds();
        EXPECT_EQ(f.isInBounds(c.point), c.isInBounds) << &c - cases;
        EXPECT_EQ(f.ableToExtrap(c.point), c.isInBounds) << &c - cases;  // no flags yet
        f.initLimitOrExtrapolate();
        EXPECT_EQ(f.ableToExtrap(c.point), c.ableToExtrap) << &c - cases;
    }
}

TEST(CompositeFunction, BoxesAndFlagsJoinThoseOfBothChildren) {
    Container f = container(branch(table(0, 1, 0, 1), table(2, 3, 2, 3, Enums::EXTRAPOLATE)));
    EXPECT_EQ(f.bounds(), (Bounds{{0, 3}}));
    EXPECT_EQ(f.topElement()->bounds(), f.bounds());
    EXPECT_EQ(f.topElement()->limitOrExtrapolate(), (Flags{{true, true}}));
    Container const before(f);
    auto& top = dynamic_cast<Branch&>(*f.topElement());
    top.setLeft(table(-5, 1, 0, 1));
    EXPECT_EQ(f.bounds(), (Bounds{{0, 3}}));  // until it is set again
    f.setTopElement(top);
    EXPECT_EQ(f.bounds(), (Bounds{{-5, 3}}));
    EXPECT_FALSE(f == before);
    f.setTopElement(branch(flat({0, 1}, {4, 5, true}, 0), flat({2, 3}, {6, 7, false, true}, 0)));
    EXPECT_EQ(f.bounds(), (Bounds{{0, 3}, {4, 7}}));
    EXPECT_EQ(f.topElement()->limitOrExtrapolate(), (Flags{{false, false}, {true, true}}));
    // Children of different dimensions: the first one's count.
    Table const two = flat({0, 1}, {0, 1}, 0);
    EXPECT_EQ(container(branch(table(2, 3, 2, 3), two)).bounds(), (Bounds{{0, 3}}));
    EXPECT_EQ(container(branch(two, table(2, 3, 2, 3))).bounds(), (Bounds{{0, 3}, {0, 1}}));
}

TEST(CompositeFunction, TheWholeTreeKnowsItsContainer) {
    Branch const tree = branch(branch(table(0, 1, 0, 1), table(1, 2, 1, 2)), table(2, 3, 2, 3));
    Container f = container(tree);
    EXPECT_TRUE(treeKnows(f.topElement(), &f));
    EXPECT_TRUE(treeKnows(&tree, nullptr));
    EXPECT_TRUE(treeKnows(Container(f).topElement(), nullptr));
    Container assigned;
    assigned = f;
    EXPECT_TRUE(treeKnows(assigned.topElement(), &assigned));
    EXPECT_EQ(assigned.bounds(), f.bounds());
    Container moved;
    moved = std::move(assigned);
    EXPECT_TRUE(treeKnows(moved.topElement(), &moved));
    EXPECT_EQ(answer(moved, {2.5}), "ok 2.5");
    Container read;
    ASSERT_TRUE(KrXml::fromString(KrXml::toString(f), read));
    EXPECT_TRUE(read == f);
    EXPECT_TRUE(treeKnows(read.topElement(), &read));
    // A child that is set, and a branch that is assigned, inside of a tree. The source may
    // be a part of the target.
    auto& top = dynamic_cast<Branch&>(*f.topElement());
    top.setRight(tree);
    top.setRight(*dynamic_cast<Branch&>(*top.right()).left());
    EXPECT_TRUE(treeKnows(&top, &f));
    auto& left = dynamic_cast<Branch&>(*top.left());
    auto const& source = dynamic_cast<Branch const&>(*moved.topElement());
    left = source;
    EXPECT_TRUE(left == source);
    EXPECT_TRUE(treeKnows(&top, &f));
    EXPECT_TRUE(treeKnows(moved.topElement(), &moved));
    top = left;
    EXPECT_TRUE(top == source);
    EXPECT_TRUE(treeKnows(&top, &f));
    // A client's element holds a container, which replaces the one around it.
    Holder holder;
    holder.held = container(table(5, 6, 5, 6));
    for (auto const assign : {+[](Container&to, Container&from) { to = from; },
                              +[](Container&to, Container&from) { to = std::move(from); }}) {
        f.setTopElement(holder);
        assign(f, dynamic_cast<Holder&>(*f.topElement()).held);
        EXPECT_EQ(f.bounds(), (Bounds{{5, 6}}));
        EXPECT_EQ(answer(f, {5.5}), "ok 5.5");
        EXPECT_TRUE(treeKnows(f.topElement(), &f));
    }
    f = Container();
    EXPECT_EQ(f.topElement(), nullptr);
}

TEST(CompositeFunction, ABranchIsDescribedWithWhatItsContainerCreates) {
    Container f;
    f.registerComponentCreator(KrFunction::ns + "mine", Table::creator);
    std::string const schema = KrXml::schemaToString(f);
    EXPECT_NE(schema.find("mine"), schema.rfind("mine"));
}

TEST(CompositeFunction, ThirdChildReplacesTheSecond) {
    Container f;
    std::string const children =
        tableText("0", "1", "1") + tableText("2", "3", "2") + tableText("4", "5", "3");
    ASSERT_TRUE(reads(f, branchText(children)));
    EXPECT_EQ(f.bounds(), (Bounds{{0, 5}}));
    EXPECT_EQ(answer(f, {0}), "ok 1");
    EXPECT_EQ(answer(f, {4}), "ok 3");
    EXPECT_EQ(answer(f, {2}), "no 3");

    // An unknown one removes the second, and is refused with its place.
    CapturedMessages const captured;
    reads(f, branchText(children + "<spline/>"));
    EXPECT_NE(captured.text().find("compositeFunctionContainer/compositeFunctionBranch/spline: "
                                   "expected a known element, found element \"spline\""),
              std::string::npos);
    EXPECT_EQ(dynamic_cast<Branch const&>(*f.topElement()).right(), nullptr);
    EXPECT_NE(dynamic_cast<Branch const&>(*f.topElement()).left(), nullptr);
}

TEST(CompositeFunction, BranchReadsItsChildrenByItsContainer) {
    std::string const child = "<tableFunctionInterpolator/>";
    std::string const text = document("compositeFunctionBranch", "\n" + child + child);
    Container const home;
    Branch inside(&home);
    EXPECT_TRUE(KrXml::fromString(text, inside));
    EXPECT_TRUE(inside.right() && treeKnows(&inside, &home));
    EXPECT_TRUE(reads(inside, child));  // in place of both
    EXPECT_TRUE(inside.left() && !inside.right());

    Branch alone = branch(table(0, 1, 0, 1), table(1, 2, 1, 2));
    CapturedMessages const captured;
    EXPECT_FALSE(KrXml::fromString(text, alone));
    ASSERT_FALSE(captured.messages.empty());
    EXPECT_EQ(captured.messages[0].text,
              "Bad token: urn:zeibreku:function#tableFunctionInterpolator on line 2\n");
    EXPECT_EQ(static_cast<int>(captured.messages[0].type), 4);
    EXPECT_NE(alone.left(), nullptr);
}

// As deep as a document may be. Every branch has the point in its box, and no table has. If
// a branch evaluated a child twice, each level would double the work.
std::string deepest(std::string const& innermost) {
    std::string text = innermost;
    for (int level = 248; level > 0; --level) {
        text =
            branchText(text + (level == 248 ? tableText("2", "3", "2") : tableText("0", "1", "1")));
    }
    return document("compositeFunctionContainer", text);
}

TEST(CompositeFunction, DeepTreesEndAndNeedLittleStack) {
    onSmallStack([] {
        Container f;
        EXPECT_TRUE(KrXml::fromString(deepest(tableText("0", "1", "1")), f));
        EXPECT_EQ(answer(f, {1.5}), "no");
        EXPECT_EQ(answer(f, {3}), "ok 2");
        Container const copy(f);
        EXPECT_TRUE(copy == f);
        EXPECT_FALSE(KrXml::toString(copy).empty());
        KrRealVector const point{3};
        KrRealVector y(1);
        KrBoolean ok = false;
        std::size_t const before = allocationCount();
        f.evaluate(point, y, ok);
        EXPECT_EQ(allocationCount(), before);
    });
}

TEST(ValueTypes, ListsOfNamedFunctionsGoThroughDocuments) {
    std::string const name =
        component("first", component("first", "3") + component("second", "drag"));
    std::string const text =
        document("item", item(item(name + component("second", "<linearScalarFunction/>"))));
    KrValueTypes::NamedFunctionVectors read;
    KrValueTypes::NamedFunctionVectors again;
    ASSERT_TRUE(KrXml::fromString(text, read));
    ASSERT_TRUE(KrXml::fromString(KrXml::toString(read), again));
    EXPECT_TRUE(read == again);
    EXPECT_EQ(again[0][0].second().evaluate(0.25), 0.25);
    EXPECT_EQ(again[0][0].first().second().value(), "drag");
    // A creator that a client registers with a part stays for the next document.
    KrValueTypes::NamedFunction named;
    KrScalarFunctionContainer functions;
    functions.registerComponentCreator(KrMultipointScalarFunction::classToken(),
                                       KrMultipointScalarFunction::creator);
    named.setSecond(functions);
    EXPECT_TRUE(reads(named, "<second><multipointScalarFunction/></second>"));
    EXPECT_NE(named.second().topElement(), nullptr);
    EXPECT_TRUE(reads(named, ""));
    EXPECT_EQ(named.second().topElement(), nullptr);
}

}  // namespace
