// What every element promises, checked for each class that is listed in
// Elements.h. Components are found through the element's own map, so that a class
// joins by its entry there alone.

#include "tests/contract/Elements.h"

#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlEnumType.h"
#include "function/object/KrCreators.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/XmlLint.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

// The document without its declaration, line ends and indentation.
std::string withoutLayout(std::string const& document) {
    std::string text;
    std::size_t at = document.find("?>") + 2;
    while ((at = document.find_first_not_of(" \n", at)) < document.size()) {
        std::size_t const end = document.find('\n', at);
        text += document.substr(at, end - at);
        at = end;
    }
    return text;
}

using Pair = KrXmlPairType<KrXmlBasicType<KrU32>, KrXmlBasicType<KrU32>>;

// Gives a component another value than it has. False for a kind that is checked
// elsewhere.
bool change(KrXmlObject& component) {
    if (auto* const real = dynamic_cast<KrXmlBasicType<double>*>(&component)) {
        *real = *real + 0.125;
    } else if (auto* const number = dynamic_cast<KrXmlBasicType<KrU32>*>(&component)) {
        *number = *number + 1;
    } else if (auto* const flag = dynamic_cast<KrXmlBasicType<bool>*>(&component)) {
        *flag = !*flag;
    } else if (auto* const reals = dynamic_cast<KrXmlRealVector*>(&component)) {
        reals->pushBack(KrXmlBasicType<double>(0.1));
    } else if (auto* const indices =
                   dynamic_cast<KrXmlVectorType<KrXmlBasicType<KrU32>>*>(&component)) {
        indices->pushBack(KrXmlBasicType<KrU32>(7));
    } else if (auto* const pairs = dynamic_cast<KrXmlVectorType<Pair>*>(&component)) {
        pairs->pushBack(Pair());
    } else if (auto* const option = dynamic_cast<KrXmlEnumType<KrU32>*>(&component)) {
        *option = *option + 1;
    } else if (auto* const shortOption = dynamic_cast<KrXmlEnumType<unsigned short>*>(&component)) {
        *shortOption = static_cast<unsigned short>(*shortOption + 1);
    } else {
        return false;
    }
    return true;
}

template <class T>
void changeAll(T& element) {
    for (auto const& component : element.componentMap()) {
        change(*component.object);
    }
    for (auto const& attribute : element.attributeComponentMap()) {
        change(*attribute.object);
    }
}

template <class Entry>
class ElementContract : public testing::Test {};
TYPED_TEST_SUITE(ElementContract, Elements);

TYPED_TEST(ElementContract, DefaultDocumentIsAsRecorded) {
    using T = typename TypeParam::Element;
    T const element;
    EXPECT_EQ(withoutLayout(KrXml::toString(element)), TypeParam::document);
    EXPECT_TRUE(element.equalsDefault());
    EXPECT_EQ(std::string(element.token().localName()),
              std::string(TypeParam::document)
                  .substr(1, std::string(TypeParam::document).find_first_of(" >") - 1));
}

TYPED_TEST(ElementContract, NewObjectsAreDefaultAndClonesAreEqual) {
    using T = typename TypeParam::Element;
    T element;
    changeAll(element);
    std::unique_ptr<KrXmlObject> const fresh(element.newObject());
    std::unique_ptr<KrXmlObject> const created(T::creator());
    std::unique_ptr<KrXmlObject> const clone(element.clone());
    EXPECT_TRUE(T().equality(fresh.get()));
    EXPECT_TRUE(T().equality(created.get()));
    EXPECT_TRUE(T::nullObject() == T());
    EXPECT_TRUE(element.equality(clone.get()));
    EXPECT_EQ(KrXml::toString(element), KrXml::toString(*clone));
    EXPECT_FALSE(element.equality(nullptr));
    KrXmlRealVector const foreign;
    EXPECT_FALSE(element.equality(&foreign));
    T assigned;
    assigned = element;
    EXPECT_TRUE(assigned == element);
    T& self = assigned;
    assigned = self;
    EXPECT_TRUE(assigned == element);
}

TYPED_TEST(ElementContract, EachComponentIsCopiedComparedAndKeptByDocuments) {
    using T = typename TypeParam::Element;
    T prototype;
    std::size_t const components = prototype.componentMap().size();
    std::size_t const attributes = prototype.attributeComponentMap().size();
    for (std::size_t i = 0; i < components + attributes; ++i) {
        T element;
        auto const& entry =
            i < components
                ? *(element.componentMap().begin() + static_cast<long>(i))
                : *(element.attributeComponentMap().begin() + static_cast<long>(i - components));
        SCOPED_TRACE(entry.token.text());
        if (!change(*entry.object)) {
            continue;
        }
        if constexpr (requires { element.init(); }) {
            element.init();  // as reading does: what follows from components is compared
        }
        EXPECT_FALSE(element == T());
        EXPECT_FALSE(element.equalsDefault());
        T const copy(element);
        EXPECT_TRUE(copy == element);
        T back;
        ASSERT_TRUE(KrXml::fromString(KrXml::toString(element), back));
        EXPECT_TRUE(back == element);
        element.xmlInit();  // prepares, and touches no value
        EXPECT_TRUE(copy == element);
    }
}

TYPED_TEST(ElementContract, RefusedDocumentsSayWhereAndChangeNothing) {
    using T = typename TypeParam::Element;
    T element;
    changeAll(element);
    T const before(element);
    std::string const tag(element.token().localName());
    std::string const root = "<" + tag + " xmlns='urn:zeibreku:function#'";
    std::string const place = "<string>:1:" + std::to_string(root.size() + 2) + ": " + tag;
    struct {
        std::string document;
        std::string message;
    } const cases[] = {
        {root + "><nothing/></" + tag + ">",
         place + "/nothing: expected a known element, found element \"nothing\"\n"},
        {root + " colour='red'/>",
         "<string>:1:1: " + tag + ": expected a known attribute, found attribute \"colour\"\n"},
        {root + ">stray</" + tag + ">",
         place + ": expected elements alone, found text \"stray\"\n"},
        {root + ">", place + ": expected well-formed XML, found no element found\n"},
    };
    for (auto const& refused : cases) {
        CapturedMessages const captured;
        EXPECT_FALSE(KrXml::fromString(refused.document, element)) << refused.document;
        EXPECT_TRUE(element == before);
        ASSERT_FALSE(captured.messages.empty());
        EXPECT_EQ(captured.messages.back().text, refused.message);
        EXPECT_EQ(static_cast<int>(captured.messages.back().type), 4);
    }
    // What a document lacks takes its default.
    ASSERT_TRUE(KrXml::fromString(root + "/>", element));
    EXPECT_TRUE(element == T());
}

TYPED_TEST(ElementContract, TheFactoryKnowsTheElement) {
    using T = typename TypeParam::Element;
    std::unique_ptr<KrXmlObject> const created(
        KrCreators::factory().newObjectFromToken(T().token()));
    EXPECT_TRUE(T().equality(created.get()));
}

TYPED_TEST(ElementContract, SchemasTakeWhatTheReaderTakes) {
    using T = typename TypeParam::Element;
    if (!XmlLint::isInstalled()) {
        GTEST_SKIP() << "needs xmllint";
    }
    T element;
    changeAll(element);
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
        EXPECT_EQ(lint.complaints(KrXml::toString(T())), "") << schema;
        EXPECT_EQ(lint.complaints(KrXml::toString(element)), "") << schema;
        for (std::string const& document : bad) {
            EXPECT_FALSE(KrXml::fromString(document, element)) << document;
            EXPECT_NE(lint.complaints(document), "") << document;
        }
    }
}

}  // namespace
