// The list of an element vector: edits, messages and documents.

#include "foundation/xml/KrBaseExpressionTreeElement.h"
#include "foundation/xml/KrXml.h"
#include "function/object/KrFunction.h"
#include "function/object/KrXmlVariableVectorType.h"
#include "tests/support/CapturedMessages.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

KrToken const namedToken = KrFunction::ns + "named";
KrToken const otherToken = KrFunction::ns + "other";
KrToken const foreignToken = KrFunction::ns + "foreign";
KrToken const vectorToken = KrFunction::ns + "namedVector";

int alive = 0;

class Named : public KrElement<Named, KrBaseExpressionTreeElement, namedToken> {
public:
    explicit Named(char name = '?') : name_(std::string(1, name)) { ++alive; }
    Named(Named const& other) : KrElement(other), name_(other.name_) { ++alive; }
    Named& operator=(Named const&) = default;
    ~Named() override { --alive; }
    void registerComponents() override { registerComponent(KrFunction::KrAlphaToken, &name_); }
    bool operator==(Named const&) const = default;

    KrXmlBasicType<std::string> name_;
};

class Other : public Named {
public:
    static KrXmlObject* creator() { return new Other; }
    KrToken const& token() const override { return otherToken; }
};

// An element whose clone is of another class.
class Lost : public Named {
public:
    KrXmlObject* clone() const override { return new KrXmlRealVector; }
};

class NamedVector : public KrElement<NamedVector, KrXmlVariableVectorType<Named>, vectorToken> {
public:
    using KrElement::KrElement;
    void registerComponentCreators() override {
        registerComponentCreator(namedToken, Named::creator);
        registerComponentCreator(foreignToken, KrXmlRealVector::creator);
    }
    bool operator==(NamedVector const&) const = default;

    // The names in order, '-' for an empty entry.
    std::string names() const {
        std::string names;
        for (Named const* const entry : vectorContainer()) {
            names += entry ? entry->name_.value() : "-";
        }
        return names;
    }
};

NamedVector vectorOf(std::string const& names) {
    NamedVector vector;
    for (char const name : names) {
        vector.pushBack(Named(name));
    }
    return vector;
}

TEST(ElementVector, EditsItsList) {
    struct {
        char const* start;
        void (*edit)(NamedVector&);
        char const* names;
    } const cases[] = {
        {"ABC", [](NamedVector& v) { v.resize(10); }, "ABC"},
        {"ABC", [](NamedVector& v) { v.resize(1); }, "A"},
        {"ABC", [](NamedVector& v) { v.clear(); }, ""},
        {"ABC", [](NamedVector& v) { EXPECT_TRUE(v.erase(1)); }, "AC"},
        {"ABCDE", [](NamedVector& v) { EXPECT_TRUE(v.erase(1, 3)); }, "A-E"},
        {"ABC", [](NamedVector& v) { EXPECT_TRUE(v.erase(0, 2)); }, "-"},
        {"ABCDE", [](NamedVector& v) { v.erase(1, 3), v.erase(1); }, "AE"},
        {"ABCDE", [](NamedVector& v) { v.erase(1, 3), v.exchange(1, Named('X')); }, "AXE"},
        {"ABC", [](NamedVector& v) { EXPECT_TRUE(v.exchange(2, v[0])); }, "ABA"},
        {"ABC", [](NamedVector& v) { v.assign(2, v[1]); }, "BB"},
        {"ABC", [](NamedVector& v) { v.pushBack(v[0]); }, "ABCA"},
        {"ABC", [](NamedVector& v) { v.pushBack(Lost()), v.exchange(0, Lost()); }, "-BC-"},
        {"", [](NamedVector& v) { v = NamedVector(3); }, "---"},
    };
    for (auto const& row : cases) {
        CapturedMessages const captured;
        NamedVector vector = vectorOf(row.start);
        row.edit(vector);
        EXPECT_EQ(vector.names(), row.names) << row.start;
        EXPECT_EQ(captured.text(), "");
        NamedVector copy = vectorOf("Z");
        copy = vector;
        EXPECT_EQ(copy.names(), row.names);
        EXPECT_EQ(copy == vector, copy.names().find('-') == std::string::npos);
    }
    NamedVector vector = vectorOf("A");
    Named const* const first = &vector[0];
    vector.pushBack(*first);
    vector[1].name_ = std::string("B");
    NamedVector& self = vector;
    vector = self;
    EXPECT_EQ(&vector[0], first);
    EXPECT_EQ(vector.names(), "AB");
    vector.clear();
    EXPECT_EQ(alive, 0);  // each element was deleted, and only once
    EXPECT_FALSE(vectorOf("AB") == vectorOf("BA"));
    EXPECT_FALSE(vectorOf("AB") == vectorOf("A"));
}

TEST(ElementVector, ReportsABadIndexAndChangesNothing) {
    std::string const prefix = "KrXmlVariableVectorType<ElementType>::";
    std::string const attempt = "Will attempt to return the first vector element.\n";
    struct {
        bool (*call)(NamedVector&);
        std::string text;
        char const* operation;
    } const cases[] = {
        {[](NamedVector& v) { return &v[7] == &v[0]; }, "bad index\n" + attempt, "operator[]"},
        {[](NamedVector& v) { return &std::as_const(v)[7] == &v[0]; },
         prefix + "operator[]: bad index\n" + attempt, "operator[]"},
        {[](NamedVector& v) { return !v.exchange(5, Named('X')); },
         prefix + "exchange: bad index, 5\n", "exchange("},
        {[](NamedVector& v) { return !v.erase(5); }, prefix + "erase: bad index, 5\n", "erase("},
        {[](NamedVector& v) { return !v.erase(2, 2); },
         prefix + "erase: bad first/last indices: 2/2\n", "erase("},
        {[](NamedVector& v) { return !v.erase(0, 5); },
         prefix + "erase: bad first/last indices: 0/5\n", "erase("},
    };
    for (auto const& row : cases) {
        NamedVector vector = vectorOf("ABCDE");
        CapturedMessages const captured;
        EXPECT_TRUE(row.call(vector)) << row.text;
        EXPECT_EQ(captured.text(), row.text);
        for (auto const& message : captured.messages) {
            EXPECT_EQ(static_cast<int>(message.type), 4);
            EXPECT_NE(message.context.find(row.operation), std::string::npos) << message.context;
        }
        EXPECT_EQ(vector.names(), "ABCDE");
    }
    // An empty entry is a bad index, and what stands in for it is never null.
    NamedVector vector = vectorOf("ABCD");
    vector.erase(0, 2);
    CapturedMessages const captured;
    EXPECT_EQ(vector[0].name_.value(), "D");
    EXPECT_EQ(NamedVector(1)[0].name_.value(), "?");
    EXPECT_EQ(captured.text(), "bad index\n" + attempt + "bad index\n" + attempt);
}

TEST(ElementVector, ReadsInDocumentOrder) {
    NamedVector vector = vectorOf("ABC");
    std::string const document =
        "<namedVector xmlns='urn:zeibreku:function#' count='4294967295'>"
        "<named><alpha>P</alpha></named><other><alpha>Q</alpha></other>"
        "<foreign><alpha>R</alpha></foreign></namedVector>";
    KrXmlFactory factory;
    factory.registerCreator(otherToken, Other::creator);
    factory.registerCreator(foreignToken, Other::creator);
    ASSERT_TRUE(KrXml::fromString(document, vector, &factory));
    EXPECT_EQ(vector.names(), "PQR");
    EXPECT_LT(vector.vectorContainer().capacity(), 10000U);  // the count is only a hint

    // Without the factory the two are unknown.
    std::istringstream stream(document);
    KrXmlReader reader(stream);
    CapturedMessages const captured;
    EXPECT_FALSE(vector.read(reader));
    EXPECT_EQ(vector.names(), "P");
    EXPECT_EQ(captured.messages.at(0).text,
              "KrXmlVariableVectorType::readValueFromToken() error:\n\t"
              "\"urn:zeibreku:function#other\" tag not registered.\n");
    // The vector itself refuses a count, whatever the reader says in the end.
    std::istringstream counted("<namedVector xmlns='urn:zeibreku:function#' count='x'/>");
    KrXmlReader countedReader(counted);
    EXPECT_FALSE(vector.read(countedReader));
    EXPECT_EQ(captured.messages.back().text,
              ":1:1: namedVector: expected an integer, found \"x\"\n");
}

TEST(ElementVector, IsWrittenPieceByPiece) {
    NamedVector const vector = vectorOf("AB");
    std::ostringstream stream;
    stream.setstate(std::ios::failbit);
    KrXmlWriter* writer = nullptr;
    EXPECT_FALSE(vector.writeHeaderToStream(stream, writer, "", vectorToken));
    EXPECT_EQ(writer, nullptr);
    EXPECT_FALSE(vector.writeBodyToStream(writer));
    EXPECT_FALSE(vector.appendElementToStream(writer, vector[0]));
    EXPECT_FALSE(vector.writeFooterToStream(writer));
    stream.clear();
    ASSERT_TRUE(vector.writeHeaderToStream(stream, writer, "by pieces", vectorToken));
    EXPECT_TRUE(vector.writeBodyToStream(writer));
    EXPECT_TRUE(vector.appendElementToStream(writer, Named('C')));
    EXPECT_TRUE(vector.writeFooterToStream(writer));
    EXPECT_EQ(writer, nullptr);
    EXPECT_TRUE(stream.str().starts_with(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- by pieces -->\n"
        "<namedVector xmlns=\"urn:zeibreku:function#\" count=\"2\">\n  <named>\n"));
    NamedVector back;
    ASSERT_TRUE(KrXml::fromString(stream.str(), back));
    EXPECT_TRUE(back == vectorOf("ABC"));
}

}  // namespace
