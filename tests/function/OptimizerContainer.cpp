#include "foundation/xml/KrXml.h"
#include "function/multivariable/KrPowellsQuarticFunction.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Texts.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using Container = KrScalarMultivariableOptimizerContainer;

KrNelderMeadOptimizer optimizerWith(double alpha) {
    KrNelderMeadOptimizer optimizer;
    optimizer.setAlpha(alpha);
    return optimizer;
}

Container containerWith(double alpha) {
    Container container;
    container.setTopElement(optimizerWith(alpha));
    return container;
}

double alphaOf(Container const& container) {
    return dynamic_cast<KrNelderMeadOptimizer const&>(*container.topElement()).alpha();
}

std::string nelderMead(std::string const& alpha) {
    return component("nelderMead", component("alpha", alpha));
}

std::string optimizerContainer(std::string const& content) {
    return document("optimizerContainer", content);
}

TEST(OptimizerContainer, StandsInForItsOptimizer) {
    KrPowellsQuarticFunction const f;
    KrRealVector const start{3, -1, 0, 1};
    KrRealVector result{7};
    Container container;
    EXPECT_EQ(container.findMinimum(f, start, result), 0.0);
    EXPECT_EQ(container.findMaximum(f, start, result), 0.0);
    EXPECT_EQ(result, KrRealVector{7});
    KrNelderMeadOptimizer const optimizer;
    container.setTopElement(optimizer);
    KrRealVector expected;
    EXPECT_EQ(container.findMinimum(f, start, result), optimizer.findMinimum(f, start, expected));
    EXPECT_EQ(container.findMaximum(f, start, result), optimizer.findMaximum(f, start, expected));
    EXPECT_EQ(result, expected);
}

TEST(OptimizerContainer, OwnsACloneAndComparesByIt) {
    KrNelderMeadOptimizer optimizer = optimizerWith(2.0);
    Container container;
    container.setTopElement(optimizer);
    optimizer.setAlpha(3.0);
    EXPECT_EQ(alphaOf(container), 2.0);
    EXPECT_EQ(container.topElement()->container(), nullptr);
    // The present element itself may be given again, in both ways.
    container.setTopElement(*container.topElement());
    container.setAndDeleteTopElementPointer(container.topElement());
    EXPECT_EQ(alphaOf(container), 2.0);

    Container const copy(container);
    EXPECT_TRUE(copy == container);
    EXPECT_NE(copy.topElement(), container.topElement());
    EXPECT_FALSE(copy == containerWith(3.0));
    EXPECT_FALSE(copy == Container());
    EXPECT_FALSE(Container() == copy);
    EXPECT_TRUE(Container() == Container());
    Container const other = containerWith(3.0);
    container = other;
    EXPECT_EQ(alphaOf(container), 3.0);
    container = Container();
    EXPECT_EQ(container.topElement(), nullptr);
    std::unique_ptr<KrXmlObject> const clone(copy.clone());
    EXPECT_TRUE(copy.equality(clone.get()));
    EXPECT_FALSE(copy.equality(nullptr));
    EXPECT_FALSE(copy.equality(&optimizer));
    EXPECT_TRUE(Container::nullObject().equalsDefault());
    container.setAndDeleteTopElementPointer(new KrNelderMeadOptimizer);
    container.setAndDeleteTopElementPointer(nullptr);
    EXPECT_EQ(container.topElement(), nullptr);
}

TEST(OptimizerContainer, ReadsTheLastOptimizer) {
    Container container;
    ASSERT_TRUE(reads(container, nelderMead("2") + nelderMead("3")));
    EXPECT_EQ(alphaOf(container), 3.0);
    EXPECT_EQ(container.topElement()->container(), nullptr);
    Container back;
    ASSERT_TRUE(KrXml::fromString(KrXml::toString(container), back));
    EXPECT_TRUE(back == container);

    // What its own creator makes may be no optimizer; a reader's factory is asked then.
    back.registerComponentCreator(KrFunction::KrNelderMeadToken, KrXmlRealVector::creator);
    KrXmlFactory factory;
    factory.registerCreator(KrFunction::KrNelderMeadToken, KrNelderMeadOptimizer::creator);
    EXPECT_TRUE(KrXml::fromString(optimizerContainer("<nelderMead/>"), back, &factory));
    EXPECT_NE(back.topElement(), nullptr);

    // An unknown tag empties the container and is refused.
    CapturedMessages const captured;
    EXPECT_FALSE(reads(container, "<nelderMead/><other/>"));
    EXPECT_EQ(container.topElement(), nullptr);
    EXPECT_EQ(captured.messages.size(), 1U);
    // An element that refuses its content leaves the container's own answer true,
    // but the document fails.
    EXPECT_TRUE(reads(container, nelderMead("x")));
    EXPECT_EQ(captured.messages.size(), 2U);
    EXPECT_FALSE(KrXml::fromString(optimizerContainer(nelderMead("x")), container));
}

TEST(OptimizerContainer, KeepsLibraryNamesAndLoadsNothing) {
    Container container;
    CapturedMessages const captured;
    ASSERT_TRUE(reads(container, component("addLibraries", item("a.so") + item("b.so"))));
    EXPECT_EQ(captured.text(),
              "library \"a.so\" is not loaded: loading code is off\n"
              "library \"b.so\" is not loaded: loading code is off\n");
    ASSERT_EQ(container.addLibraries().size(), 2U);
    EXPECT_EQ(container.addLibraries()[1].value(), "b.so");
    EXPECT_FALSE(container == Container());
    Container back;
    ASSERT_TRUE(KrXml::fromString(KrXml::toString(container), back));
    EXPECT_TRUE(back == container);
    // A second list is refused.
    Container twice;
    reads(twice, component("addLibraries", item("a")) + "<addLibraries/><nelderMead/>");
    EXPECT_EQ(twice.addLibraries().size(), 1U);  // the first one
    EXPECT_NE(twice.topElement(), nullptr);
    EXPECT_NE(captured.text().find("optimizerContainer/addLibraries: expected each component once, "
                                   "found a second \"addLibraries\"\n"),
              std::string::npos);
    back.setAddLibraries({});
    EXPECT_EQ(KrXml::toString(back).find("addLibraries"), std::string::npos);
}

}  // namespace
