// The contract of every element, checked for each class in Elements.h. The element's own
// maps list its components, and what a container or a vector can create.

#include "tests/contract/Elements.h"

#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlEnumType.h"
#include "search/KrSearchCreators.h"
#include "tests/support/Allocations.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Texts.h"
#include "tests/support/XmlLint.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace {

template <class T>
using Vector = KrXmlVectorType<KrXmlBasicType<T>>;
using Pair = KrXmlPairType<KrXmlBasicType<KrU32>, KrXmlBasicType<KrU32>>;

// Applies `edit` to a component that is of one of the classes; else false.
template <class... T, class Edit>
bool edited(KrXmlObject& component, Edit edit) {
    auto const tried = [&](auto* typed) { return typed && (edit(*typed), true); };
    return (tried(dynamic_cast<T*>(&component)) || ...);
}

// Changes the value of a component. False for an unknown kind.
bool change(KrXmlObject& component) {
    return edited<KrXmlBasicType<double>>(
               component, [](auto& x) { x = std::isfinite(x.value()) ? x.value() + 1.0 : 0.0; }) ||
           edited<KrXmlBasicType<KrU32>>(component, [](auto& n) { n = n.value() + 1; }) ||
           edited<KrXmlEnumType<KrU32>, KrXmlEnumType<unsigned short>>(
               component, [](auto& choice) { choice = choice.value() == 0; }) ||
           edited<KrXmlBasicType<std::string>>(component, [](auto& text) { text = "a"; }) ||
           edited<KrXmlBasicType<bool>>(component, [](auto& flag) { flag = !flag; }) ||
           edited<Vector<double>, Vector<KrU32>, KrXmlVectorType<Pair>,
                  KrTableFunctionInterpolator::IndependentData,
                  KrTableFunctionInterpolator::DependentData>(
               component, [](auto& list) { list.resize(list.size() + 1); }) ||
           edited<KrScalarMultivariableOptimizerVector>(
               component, [](auto& list) { list.pushBack(KrNelderMeadOptimizer()); }) ||
           edited<KrScalarMultivariableOptimizerContainer>(
               component, [](auto& holder) { holder.setTopElement(KrNelderMeadOptimizer()); }) ||
           edited<KrMultivariableConstraintVector>(
               component, [](auto& list) { list.pushBack(KrLinearMultivariableConstraint()); }) ||
           edited<KrSearchVariableVector>(component,
                                          [](auto& list) { list.pushBack(KrSearchVariable()); });
}

using Holder = KrXmlBaseVariableCompoundType;

std::vector<KrXmlComponentMap::Entry> partsOf(KrXmlCompoundType& element) {
    std::vector<KrXmlComponentMap::Entry> parts(element.componentMap().begin(),
                                                element.componentMap().end());
    parts.insert(parts.end(), element.attributeComponentMap().begin(),
                 element.attributeComponentMap().end());
    return parts;
}

template <class Map>
std::vector<KrToken> tokensOf(Map const& map) {
    std::vector<KrToken> tokens;
    for (auto const& entry : map) {
        if constexpr (requires { entry.token; }) {
            tokens.push_back(entry.token);
        } else {
            tokens.push_back(entry.first);
        }
    }
    return tokens;
}

std::vector<KrToken> childrenOf(KrXmlCompoundType& element) {
    return tokensOf(element.componentMap());
}
std::vector<KrToken> childrenOf(Holder& holder) {
    std::vector<KrToken> children = tokensOf(holder.creatorMap());
    children.push_back(KrXml::KrAddLibrariesToken);
    return children;
}

std::vector<KrToken> attributesOf(KrXmlCompoundType& element) {
    return tokensOf(element.attributeComponentMap());
}
std::vector<KrToken> attributesOf(Holder&) { return {}; }

// No component that `change` can change has its default. A container and a vector have a
// library and an element.
template <class T>
T changed() {
    T element;
    if constexpr (std::is_base_of_v<KrXmlCompoundType, T>) {
        for (auto const& part : partsOf(element)) {
            change(*part.object);
        }
    } else {
        CapturedMessages const captured;
        EXPECT_TRUE(reads(element, component("addLibraries", item("a.so")) + '<' +
                                       std::string(childrenOf(element)[0].localName()) + "/>"));
    }
    return element;
}

template <class Element>
class ElementContract : public testing::Test {};
TYPED_TEST_SUITE(ElementContract, Elements);

TYPED_TEST(ElementContract, NewObjectsAreDefaultAndClonesAreEqual) {
    TypeParam const fresh;
    TypeParam const element = changed<TypeParam>();
    using Owner = std::unique_ptr<KrXmlObject>;
    Owner const made[] = {Owner(element.newObject()), Owner(TypeParam::creator()),
                          Owner(KrSearchCreators::factory().newObjectFromToken(fresh.token()))};
    for (Owner const& object : made) {
        EXPECT_TRUE(fresh.equality(object.get()));
    }
    KrXmlCreator expected = TypeParam::creator;
    if constexpr (requires { TypeParam::xmlObjectCreator(); }) {
        expected = TypeParam::xmlObjectCreator;
    }
    EXPECT_EQ(KrSearchCreators::factory().creatorMap().at(fresh.token()), expected);
    EXPECT_TRUE(fresh.equalsDefault());
    EXPECT_TRUE(TypeParam::nullObject() == fresh);
    Owner const clone(element.clone());
    EXPECT_TRUE(element.equality(clone.get()));
    EXPECT_EQ(KrXml::toString(element), KrXml::toString(*clone));
    EXPECT_FALSE(element.equality(nullptr));
    EXPECT_EQ(element == fresh, element.equalsDefault());
    KrXmlRealVector const foreign;
    EXPECT_FALSE(element.equality(&foreign));
    TypeParam assigned;
    assigned = element;
    EXPECT_TRUE(assigned == element);
    TypeParam& self = assigned;
    assigned = self;
    EXPECT_TRUE(assigned == element);
}

template <class Element>
class CompoundContract : public testing::Test {};
TYPED_TEST_SUITE(CompoundContract, Compounds);

TYPED_TEST(CompoundContract, EachComponentIsCopiedComparedAndKeptByDocuments) {
    TypeParam prototype;
    for (std::size_t i = 0; i < partsOf(prototype).size(); ++i) {
        TypeParam element;
        auto const part = partsOf(element)[i];
        SCOPED_TRACE(part.token.text());
        if (!change(*part.object)) {
            continue;
        }
        if constexpr (requires { element.init(); }) {
            element.init();  // as reading does: what follows from components is compared
        }
        EXPECT_FALSE(element == TypeParam());
        EXPECT_FALSE(element.equalsDefault());
        TypeParam const copy(element);
        EXPECT_TRUE(copy == element);
        TypeParam back;
        ASSERT_TRUE(KrXml::fromString(KrXml::toString(element), back));
        EXPECT_TRUE(back == element);
        std::istringstream stream(KrXml::toString(element));
        KrXmlReader reader(stream);
        TypeParam inParts;
        EXPECT_TRUE(!element.hasAttributes() ||
                    (reader.onElement() && inParts.readAttributes(reader)));
        EXPECT_TRUE(inParts.readElements(reader));
        if constexpr (requires { inParts.init(); }) {
            inParts.init();
        }
        EXPECT_TRUE(inParts == element);
        element.xmlInit();             // prepares, and touches no value
        element.registerComponents();  // each in the place of its first registration
        EXPECT_TRUE(copy == element);
        EXPECT_EQ(KrXml::toString(element), stream.str());
    }
}

TYPED_TEST(ElementContract, RefusedDocumentsSayWhereAndChangeNothing) {
    TypeParam element = changed<TypeParam>();
    TypeParam const before(element);
    std::string const tag(element.token().localName());
    std::string const root = "<" + tag + " xmlns='urn:zeibreku:function#'";
    std::string const start = root + " colour='red'>";
    auto const listed = [](std::vector<KrToken> const& tokens) {  // the first few of them
        std::string known;
        for (KrToken const& token : tokens) {
            known += known.empty() ? " (" : ", ";
            if (std::count(known.begin(), known.end(), ',') == 5) {
                known += "...";
                break;
            }
            known += token.localName();
        }
        return known.empty() ? known : known + ')';
    };
    auto const at = [](std::size_t column) {
        return "<string>:1:" + std::to_string(column) + ": ";
    };
    CapturedMessages const captured;
    EXPECT_FALSE(KrXml::fromString(start + "<nothing/>stray</" + tag + ">", element));
    std::string refusals;  // without the messages that a class adds
    for (Kr::Message const& message : captured.messages) {
        EXPECT_EQ(static_cast<int>(message.type), 4);
        refusals += message.text.starts_with("<string>") ? message.text : "";
    }
    std::string const known = listed(childrenOf(element));
    EXPECT_EQ(refusals, at(1) + tag + ": expected a known attribute" +
                            listed(attributesOf(element)) + ", found attribute \"colour\"\n" +
                            at(start.size() + 1) + tag + "/nothing: expected a known element" +
                            known + ", found element \"nothing\"\n" + at(start.size() + 11) + tag +
                            ": expected elements alone" + known + ", found text \"stray\"\n");
    EXPECT_TRUE(element == before);
    // What a document lacks takes its default.
    ASSERT_TRUE(KrXml::fromString(root + "/>", element));
    EXPECT_TRUE(element == TypeParam());
}

// Makes each allocation of reading and of assigning fail in turn.
TYPED_TEST(ElementContract, AfterAFailedAllocationItIsWholeOrUsableAndNothingLeaks) {
    Kr::Print::Sink const before = Kr::Print::instance().setSink([](auto const&) {});
    TypeParam element = changed<TypeParam>();
    std::string const text = KrXml::toString(element);
    ASSERT_TRUE(KrXml::fromString(text, element));
    // The first two rounds make what lives as long as the process, such as a thread's message.
    for (int round = 0; round < 4; ++round) {
        bool const reading = round % 2 == 0;
        bool failed = true;
        long live = 0;
        for (std::size_t k = 1; failed; ++k) {
            {
                TypeParam target;
                bool read = false;
                failAllocation(k);
                try {
                    reading ? static_cast<void>(read = KrXml::fromString(text, target))
                            : static_cast<void>(target = element);
                } catch (std::bad_alloc const&) {
                }
                failed = failAllocation(0);
                EXPECT_TRUE(!reading || target == (read ? element : TypeParam())) << k;
                EXPECT_NE(KrXml::toString(target), "") << k;
                target = element;
                EXPECT_TRUE(target == element) << k;
            }
            EXPECT_TRUE(round < 2 || k == 1 || liveAllocations() == live) << k;
            live = liveAllocations();
        }
    }
    Kr::Print::instance().setSink(before);
}

TYPED_TEST(ElementContract, SchemasTakeWhatTheReaderTakes) {
    if (!XmlLint::isInstalled()) {
        GTEST_SKIP() << "needs xmllint";
    }
    TypeParam element = changed<TypeParam>();
    std::string const tag(element.token().localName());
    std::string const root = "<" + tag + " xmlns='urn:zeibreku:function#' ";
    std::vector<std::string> bad{root + "><nothing/></" + tag + ">"};
    for (KrToken const& child : childrenOf(element)) {
        std::string const name(child.localName());
        std::string const value = name == "name" ? "<value/>" : "no value";  // a text takes any
        bad.push_back(root + "><" + name + ">" + value + "</" + name + "></" + tag + ">");
    }
    for (KrToken const& attribute : attributesOf(element)) {
        bad.push_back(root + attribute.text() + "='no value'/>");
    }
    std::vector<std::string> good{KrXml::toString(TypeParam()), KrXml::toString(element)};
    if constexpr (std::is_base_of_v<Holder, TypeParam>) {
        for (auto const& [token, creator] : element.creatorMap()) {
            good.push_back(root + "><" + std::string(token.localName()) + "/></" + tag + ">");
        }
    }
    CapturedMessages const captured;
    for (std::string const& schema :
         {KrXml::schemaToString(element), KrXml::schemaToString(KrSearchCreators::factory())}) {
        XmlLint const lint(schema);
        for (std::string const& document : good) {
            EXPECT_EQ(lint.complaints(document), "") << schema << document;
        }
        for (std::string const& document : bad) {
            EXPECT_FALSE(KrXml::fromString(document, element)) << document;
            EXPECT_NE(lint.complaints(document), "") << document;
        }
    }
}

template <class Container>
class ContainerContract : public testing::Test {};
TYPED_TEST_SUITE(ContainerContract, Containers);

TYPED_TEST(ContainerContract, OwnsACloneOfItsElement) {
    TypeParam const first = changed<TypeParam>();
    TypeParam container;
    container.setTopElement(*first.topElement());
    TypeParam const copy(container);
    EXPECT_TRUE(first.topElement()->equality(container.topElement()));
    EXPECT_NE(container.topElement(), first.topElement());
    EXPECT_NE(container.topElement(), copy.topElement());
    // The present element may be given again, in both ways.
    container.setTopElement(*container.topElement());
    container.setAndDeleteTopElementPointer(container.topElement());
    EXPECT_TRUE(copy == container);
    EXPECT_FALSE(copy == TypeParam());
    EXPECT_FALSE(TypeParam() == copy);
    TypeParam moved;
    moved = std::move(container);
    EXPECT_TRUE(moved == copy);
    moved = TypeParam();
    EXPECT_TRUE(moved == TypeParam());
    moved.setAndDeleteTopElementPointer(nullptr);
    EXPECT_EQ(moved.topElement(), nullptr);
}

TYPED_TEST(ContainerContract, KeepsTheLastElementThatItReads) {
    CapturedMessages captured;
    TypeParam container;
    std::string const tag(container.creatorMap().begin()->first.localName());
    KrToken const& last = container.creatorMap().rbegin()->first;
    std::string const lastElement = '<' + std::string(last.localName()) + "/>";
    ASSERT_TRUE(reads(container, '<' + tag + "/>" + lastElement));
    EXPECT_TRUE(container.topElement()->token() == last);
    EXPECT_EQ(captured.text(), "");
    EXPECT_FALSE(reads(container, lastElement + "<nothing/>"));
    EXPECT_EQ(container.topElement(), nullptr);
    EXPECT_EQ(captured.messages.size(), 1U);
    // If an element refuses its content, the document fails, and the container reads on.
    std::string const refused = component(tag, "<nothing/>");
    std::string const whole = document(std::string(container.token().localName()), refused);
    EXPECT_TRUE(reads(container, refused));
    EXPECT_FALSE(KrXml::fromString(whole, container));
    // If its own creator makes no element of its class, the reader's factory creates it.
    container.registerComponentCreator(last, KrXmlRealVector::creator);
    EXPECT_FALSE(reads(container, lastElement));
    KrXmlFactory const factory = KrSearchCreators::factory();
    EXPECT_TRUE(KrXml::fromString(document(std::string(container.token().localName()), lastElement),
                                  container, &factory));
    EXPECT_TRUE(container.topElement()->token() == last);
}

TYPED_TEST(ContainerContract, KeepsLibraryNamesAndLoadsNothing) {
    TypeParam container;
    CapturedMessages captured;
    ASSERT_TRUE(reads(container, component("addLibraries", item("a.so") + item("b.so"))));
    EXPECT_EQ(captured.text(),
              "library \"a.so\" is not loaded: loading code is off\n"
              "library \"b.so\" is not loaded: loading code is off\n");
    ASSERT_EQ(container.addLibraries().size(), 2U);
    EXPECT_EQ(container.addLibraries()[1].value(), "b.so");
    // A second list is refused.
    captured.messages.clear();
    std::string const tag(container.creatorMap().begin()->first.localName());
    reads(container, component("addLibraries", item("a")) + "<addLibraries/><" + tag + "/>");
    EXPECT_EQ(container.addLibraries().size(), 1U);  // the first one
    EXPECT_NE(container.topElement(), nullptr);
    EXPECT_TRUE(
        captured.text().ends_with("/addLibraries: expected each component once, "
                                  "found a second \"addLibraries\"\n"));
    container.setAddLibraries({});
    EXPECT_EQ(KrXml::toString(container).find("addLibraries"), std::string::npos);
}

}  // namespace
