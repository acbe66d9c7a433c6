// What every element promises, checked for each class that is listed in
// Elements.h. Components are found through the element's own map, so that a class
// joins by its entry there alone.

#include "tests/contract/Elements.h"

#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlEnumType.h"
#include "function/object/KrCreators.h"
#include "tests/support/Allocations.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/XmlLint.h"

#include <gtest/gtest.h>

#include <algorithm>
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

// Gives a component another value than it has. False for a kind that is checked
// elsewhere.
bool change(KrXmlObject& component) {
    auto const increase = [](auto& number) {
        number = static_cast<std::decay_t<decltype(number.value())>>(number.value() + 1);
    };
    return edited<KrXmlBasicType<double>, KrXmlBasicType<KrU32>, KrXmlEnumType<KrU32>,
                  KrXmlEnumType<unsigned short>>(component, increase) ||
           edited<KrXmlBasicType<bool>>(component, [](auto& flag) { flag = !flag; }) ||
           edited<Vector<double>, Vector<KrU32>, KrXmlVectorType<Pair>>(
               component, [](auto& list) { list.resize(list.size() + 1); });
}

std::vector<KrXmlComponentMap::Entry> partsOf(KrXmlCompoundType& element) {
    std::vector<KrXmlComponentMap::Entry> parts(element.componentMap().begin(),
                                                element.componentMap().end());
    parts.insert(parts.end(), element.attributeComponentMap().begin(),
                 element.attributeComponentMap().end());
    return parts;
}

// An element that has no default where `change` knows another value.
template <class T>
T changed() {
    T element;
    for (auto const& part : partsOf(element)) {
        change(*part.object);
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
                          Owner(KrCreators::factory().newObjectFromToken(fresh.token()))};
    for (Owner const& object : made) {
        EXPECT_TRUE(fresh.equality(object.get()));
    }
    KrXmlCreator expected = TypeParam::creator;
    if constexpr (requires { TypeParam::xmlObjectCreator(); }) {
        expected = TypeParam::xmlObjectCreator;
    }
    EXPECT_EQ(KrCreators::factory().creatorMap().at(fresh.token()), expected);
    EXPECT_TRUE(fresh.equalsDefault());
    EXPECT_TRUE(TypeParam::nullObject() == fresh);
    Owner const clone(element.clone());
    EXPECT_TRUE(element.equality(clone.get()));
    EXPECT_EQ(KrXml::toString(element), KrXml::toString(*clone));
    EXPECT_FALSE(element.equality(nullptr));
    KrXmlRealVector const foreign;
    EXPECT_FALSE(element.equality(&foreign));
    TypeParam assigned;
    assigned = element;
    EXPECT_TRUE(assigned == element);
    TypeParam& self = assigned;
    assigned = self;
    EXPECT_TRUE(assigned == element);
}

TYPED_TEST(ElementContract, EachComponentIsCopiedComparedAndKeptByDocuments) {
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
    auto const listed = [](KrXmlComponentMap const& components) {  // the first few of them
        std::string known;
        for (auto const& component : components) {
            known += known.empty() ? " (" : ", ";
            if (std::count(known.begin(), known.end(), ',') == 5) {
                known += "...";
                break;
            }
            known += component.token.localName();
        }
        return known.empty() ? known : known + ')';
    };
    auto const at = [](std::size_t column) {
        return "<string>:1:" + std::to_string(column) + ": ";
    };
    CapturedMessages const captured;
    EXPECT_FALSE(KrXml::fromString(start + "<nothing/>stray</" + tag + ">", element));
    std::string refusals;  // a class may say more in words of its own
    for (Kr::Message const& message : captured.messages) {
        EXPECT_EQ(static_cast<int>(message.type), 4);
        refusals += message.text.starts_with("<string>") ? message.text : "";
    }
    std::string const known = listed(element.componentMap());
    EXPECT_EQ(refusals, at(1) + tag + ": expected a known attribute" +
                            listed(element.attributeComponentMap()) +
                            ", found attribute \"colour\"\n" + at(start.size() + 1) + tag +
                            "/nothing: expected a known element" + known +
                            ", found element \"nothing\"\n" + at(start.size() + 11) + tag +
                            ": expected elements alone" + known + ", found text \"stray\"\n");
    EXPECT_TRUE(element == before);
    // What a document lacks takes its default.
    ASSERT_TRUE(KrXml::fromString(root + "/>", element));
    EXPECT_TRUE(element == TypeParam());
}

// Has each allocation of reading and of assigning fail in turn.
TYPED_TEST(ElementContract, AfterAFailedAllocationItIsWholeOrUsable) {
    CapturedMessages const captured;
    TypeParam element = changed<TypeParam>();
    std::string const text = KrXml::toString(element);
    ASSERT_TRUE(KrXml::fromString(text, element));
    bool const reading[] = {true, false};
    for (bool const reads : reading) {
        bool failed = true;
        for (std::size_t k = 1; failed; ++k) {
            TypeParam target;
            bool read = false;
            failAllocation(k);
            try {
                reads ? static_cast<void>(read = KrXml::fromString(text, target))
                      : static_cast<void>(target = element);
            } catch (std::bad_alloc const&) {
            }
            failed = failAllocation(0);
            EXPECT_TRUE(!reads || target == (read ? element : TypeParam())) << k;
            EXPECT_NE(KrXml::toString(target), "") << k;
            target = element;
            EXPECT_TRUE(target == element) << k;
        }
    }
}

TYPED_TEST(ElementContract, SchemasTakeWhatTheReaderTakes) {
    if (!XmlLint::isInstalled()) {
        GTEST_SKIP() << "needs xmllint";
    }
    TypeParam element = changed<TypeParam>();
    std::string const tag(element.token().localName());
    std::string const root = "<" + tag + " xmlns='urn:zeibreku:function#' ";
    std::vector<std::string> bad;
    for (auto const& component : element.componentMap()) {
        std::string const name(component.token.localName());
        bad.push_back(root + "><" + name + ">no value</" + name + "></" + tag + ">");
    }
    for (auto const& attribute : element.attributeComponentMap()) {
        bad.push_back(root + attribute.token.text() + "='no value'/>");
    }
    CapturedMessages const captured;
    for (std::string const& schema :
         {KrXml::schemaToString(element), KrXml::schemaToString(KrCreators::factory())}) {
        XmlLint const lint(schema);
        EXPECT_EQ(lint.complaints(KrXml::toString(TypeParam())), "") << schema;
        EXPECT_EQ(lint.complaints(KrXml::toString(element)), "") << schema;
        for (std::string const& document : bad) {
            EXPECT_FALSE(KrXml::fromString(document, element)) << document;
            EXPECT_NE(lint.complaints(document), "") << document;
        }
    }
}

}  // namespace
