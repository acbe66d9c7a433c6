#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlFactory.h"
#include "foundation/xml/KrXmlObjectVisitor.h"
#include "foundation/xml/KrXmlPairType.h"
#include "foundation/xml/KrXmlReader.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using Container = KrScalarMultivariableOptimizerContainer;

std::string const root = "<optimizerContainer xmlns='urn:zeibreku:function#'>";
std::string const end = "</optimizerContainer>";

TEST(XmlDocuments, RefusalsSayWhatAndWhere) {
    struct {
        std::string document;
        std::string message;  // all that is printed
    } const cases[] = {
        {"", ":1:1: : expected well-formed XML, found no element found"},
        {root + "<nelderMead>\n<alpha>1</beta></nelderMead>" + end,
         ":2:11: optimizerContainer/nelderMead/alpha: expected well-formed XML, found mismatched "
         "tag"},
        {root + end + "<more/>",
         ":1:73: : expected well-formed XML, found junk after document element"},
        {"<!DOCTYPE a [<!ENTITY b 'c'>]>" + root + end,
         ":1:13: : expected no document type declaration, found <!DOCTYPE"},
        {"<nelderMead xmlns='urn:zeibreku:function#'/>",
         ":1:1: nelderMead: expected element \"urn:zeibreku:function#optimizerContainer\", found "
         "element \"urn:zeibreku:function#nelderMead\""},
        {"<optimizerContainer/>",
         ":1:1: optimizerContainer: expected element "
         "\"urn:zeibreku:function#optimizerContainer\", found element \"optimizerContainer\""},
        {root + "\n  <nelderMeat><alpha>x</alpha></nelderMeat>\n" + end,
         ":2:3: optimizerContainer/nelderMeat: expected a known element, found element "
         "\"nelderMeat\""},
        {root + "<nelderMead>\n \n  stray <alpha/></nelderMead>" + end,
         ":3:3: optimizerContainer/nelderMead: expected elements alone, found text \"stray\"\n"
         "<string>:3:9: optimizerContainer/nelderMead/alpha: expected a number, found \"\""},
        {root + "<nelderMead><alpha>1</alpha><beta>2</beta><alpha>3</alpha></nelderMead>" + end,
         ":1:94: optimizerContainer/nelderMead/alpha: expected each component once, found a second "
         "\"alpha\""},
        {root + "<nelderMead><eta>" + std::string(100, '7') + "x</eta></nelderMead>" + end,
         ":1:64: optimizerContainer/nelderMead/eta: expected a number, found \"" +
             std::string(60, '7') + "...\""},
        // Every fault is told, not the first alone.
        {root + "<nelderMead a='1'><b/>\n<gamma c='1'>2</gamma></nelderMead>" + end,
         ":1:52: optimizerContainer/nelderMead: expected a known attribute, found attribute \"a\"\n"
         "<string>:1:70: optimizerContainer/nelderMead/b: expected a known element, found element "
         "\"b\"\n"
         "<string>:2:1: optimizerContainer/nelderMead/gamma: expected a known attribute, found "
         "attribute \"c\""},
    };
    Container container;
    container.setTopElement(KrNelderMeadOptimizer());
    Container const before(container);
    for (auto const& test : cases) {
        CapturedMessages const captured;
        EXPECT_FALSE(KrXml::fromString(test.document, container)) << test.document;
        EXPECT_EQ(captured.text(), "<string>" + test.message + "\n");
        for (Kr::Message const& message : captured.messages) {
            EXPECT_EQ(static_cast<int>(message.type), 4);
        }
        EXPECT_TRUE(container == before);
    }
}

TEST(XmlDocuments, ChunksMayEndAnywhere) {
    // Longer than a chunk, with texts and tags across every boundary.
    std::string text;
    for (int i = 0; i < 40'000; ++i) {
        text += "a&amp;" + std::to_string(i) + "\n";
    }
    KrXmlBasicType<std::string> value;
    ASSERT_TRUE(
        KrXml::fromString("<item xmlns='urn:zeibreku:function#'>" + text + "</item>", value));
    std::size_t at = 0;
    while ((at = text.find("&amp;", at)) != std::string::npos) {
        text.replace(at, 5, "&");
    }
    EXPECT_EQ(value.value(), text);
}

TEST(XmlDocuments, ACutDocumentIsNeverRead) {
    Container container;
    container.setTopElement(KrNelderMeadOptimizer());
    std::string const whole = KrXml::toString(container);
    CapturedMessages const captured;
    for (std::size_t length = 0; length + 1 < whole.size(); ++length) {
        std::istringstream stream(whole.substr(0, length));
        KrXmlReader reader(stream);
        EXPECT_FALSE(container.read(reader)) << length;
        EXPECT_EQ(reader.errorCount(), 1U);
        std::istringstream second(whole.substr(0, length));
        KrXmlReader secondReader(second);
        EXPECT_FALSE(KrNelderMeadOptimizer().read(secondReader)) << length;
    }
}

TEST(XmlDocuments, AStreamThatFailsIsNoDocument) {
    struct Broken : std::streambuf {
        int_type underflow() override { throw std::ios_base::failure("disk"); }
    } buffer;
    CapturedMessages const captured;
    std::istream stream(&buffer);
    KrXmlReader reader(stream, "a.xml");
    EXPECT_FALSE(reader.onElement());
    EXPECT_FALSE(reader.finish());
    EXPECT_EQ(captured.text(), "a.xml:1:1: : expected a readable document, found a read error\n");
    EXPECT_EQ(reader.errorCount(), 1U);
    // A stream that throws for its owner throws through the reader.
    std::istream throwing(&buffer);
    throwing.exceptions(std::ios::badbit);
    KrXmlReader other(throwing);
    EXPECT_THROW(other.finish(), std::ios_base::failure);
}

TEST(XmlDocuments, NestingHasALimit) {
    auto const nested = [](int depth) {
        std::string text = "<item xmlns='urn:zeibreku:function#'>";
        for (int i = 1; i < depth; ++i) {
            text += "<item>";
        }
        for (int i = 0; i < depth; ++i) {
            text += "</item>";
        }
        return text;
    };
    for (auto const& [depth, limit, good] :
         {std::tuple{256, 0, true}, {257, 0, false}, {100'000, 0, false}, {3, 2, false}}) {
        CapturedMessages const captured;
        std::istringstream stream(nested(depth));
        KrXmlReader reader(stream);
        if (limit) {
            reader.setDepthLimit(static_cast<std::size_t>(limit));
        }
        EXPECT_EQ(reader.finish(), good);
        EXPECT_EQ(captured.messages.size(), good ? 0U : 1U);
        if (limit) {
            EXPECT_EQ(captured.text(),
                      ":1:44: item/item: expected nesting of at most 2 elements, "
                      "found a deeper element\n");
        }
    }
}

TEST(XmlDocuments, UnreadChildrenArePassedOver) {
    std::istringstream stream("<a><b><c>1</c>2</b><d e='f'/><g>h</g></a>");
    KrXmlReader reader(stream);
    std::string seen;
    while (reader.nextChild()) {
        seen += reader.path() + ' ';
        std::size_t const depth = reader.depth();
        if (reader.token() == KrToken("d")) {
            ASSERT_TRUE(reader.nextAttribute());
            EXPECT_TRUE(reader.attributeName() == KrToken("e"));
            EXPECT_EQ(reader.attributeValue(), "f");
            EXPECT_FALSE(reader.nextAttribute());
        }
        reader.close(depth);
    }
    EXPECT_EQ(seen, "a/b a/d a/g ");
    EXPECT_TRUE(reader.finish());
    std::string_view behind = "text";
    EXPECT_FALSE(reader.readText(behind));
    EXPECT_EQ(behind, "");
    EXPECT_EQ(reader.errorCount(), 0U);
}

class XmlFiles : public testing::Test {
protected:
    std::string content(fs::path const& path) const {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    long filesInFolder() const {
        return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    }

    TemporaryFolder temporary;
    fs::path const& folder = temporary.path;
};

TEST_F(XmlFiles, AreReplacedWholeOrNotAtAll) {
    fs::path const path = folder / "settings.xml";
    KrNelderMeadOptimizer optimizer;
    optimizer.setAlpha(1.25);
    ASSERT_TRUE(KrXml::writeFile(path.string(), optimizer));
    std::string const first = content(path);
    EXPECT_EQ(first, KrXml::toString(optimizer));
    // Permissions stay, and a link stays a link.
    ::chmod(path.c_str(), 0640);
    fs::create_symlink(path, folder / "link.xml");
    optimizer.setAlpha(1.5);
    ASSERT_TRUE(KrXml::writeFile((folder / "link.xml").string(), optimizer));
    EXPECT_TRUE(fs::is_symlink(folder / "link.xml"));
    EXPECT_EQ(fs::status(path).permissions(), static_cast<fs::perms>(0640));
    KrNelderMeadOptimizer back;
    ASSERT_TRUE(KrXml::readFile(path.string(), back));
    EXPECT_TRUE(back == optimizer);
    // The file of a link need not exist yet, and a name may be as long as it can.
    fs::create_symlink("later.xml", folder / "dangling.xml");
    std::string const longest(255, 'x');
    ASSERT_TRUE(KrXml::writeFile((folder / "dangling.xml").string(), optimizer));
    EXPECT_TRUE(fs::is_regular_file(folder / "later.xml"));
    EXPECT_TRUE(KrXml::writeFile((folder / longest).string(), optimizer));
    // An object that cannot be written leaves the file as it was, and no other.
    CapturedMessages const captured;
    std::string const second = content(path);
    EXPECT_FALSE(KrXml::writeFile(path.string(), KrXmlBasicType<std::string>("\x01")));
    EXPECT_EQ(content(path), second);
    EXPECT_EQ(filesInFolder(), 5);
    EXPECT_EQ(captured.messages.back().text, path.string() + ": not written\n");
}

TEST_F(XmlFiles, ThatCannotBeUsedAreNamed) {
    KrNelderMeadOptimizer optimizer;
    std::string const missing = (folder / "a" / "b.xml").string();
    std::string const asFolder = folder.string();
    CapturedMessages const captured;
    EXPECT_FALSE(KrXml::readFile(missing, optimizer));
    EXPECT_FALSE(KrXml::writeFile(missing, optimizer));
    EXPECT_FALSE(KrXml::writeFile(asFolder, optimizer));
    EXPECT_FALSE(KrXml::readFile(asFolder, optimizer));
    EXPECT_EQ(captured.text(), missing + ": cannot be read: No such file or directory\n" + missing +
                                   ": cannot be written: No such file or directory\n" + asFolder +
                                   ": cannot be written: not a regular file\n" + asFolder +
                                   ":1:1: : expected a readable document, found a read error\n");
}

TEST(XmlWriter, WritesACommentAndDeclaresNamespaces) {
    std::ostringstream stream;
    {
        KrXmlWriter writer("by -- hand -", stream);
        writer.startElement(KrToken("urn:a#x"));
        writer.startAttribute(KrToken("n"));
        writer.text("<\"&\n\t");
        writer.endAttribute();
        for (char const* const parent : {"urn:b#y", "bare"}) {
            writer.startElement(KrToken(parent));
            for (int twice = 0; twice < 2; ++twice) {
                writer.startElement(KrToken("urn:b#z"));
                writer.endElement();
            }
            writer.endElement();
        }
        writer.endElement();
    }
    EXPECT_EQ(stream.str(),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- by - - hand - -->\n"
              "<x xmlns=\"urn:a#\" n=\"&lt;&quot;&amp;&#10;&#9;\">\n  <y xmlns=\"urn:b#\">\n"
              "    <z/>\n    <z/>\n  </y>\n  <bare xmlns=\"\">\n"
              "    <z xmlns=\"urn:b#\"/>\n    <z xmlns=\"urn:b#\"/>\n  </bare>\n</x>\n");
}

// A client's element, derived without the library's own shorthand.
struct ClientElement : KrScalarMultivariableOptimizer {
    KrXmlObject* clone() const override { return new ClientElement(*this); }
    KrXmlObject* newObject() const override { return new ClientElement; }
    KrBoolean equality(KrXmlObject const* other) const override {
        auto const* const same = dynamic_cast<ClientElement const*>(other);
        return same && same->level == level && same->name == name;
    }
    KrToken const& token() const override { return tag; }
    void registerComponents() override {
        registerAttributeComponent(KrToken("name"), &name);
        registerComponent(KrToken("urn:client#level"), &level);
        registerComponentReadOnly(KrToken("urn:client#made"), &made);
    }
    double findMinimum(KrScalarMultivariableFunction const&, KrRealVector const&,
                       KrRealVector&) const override {
        return -1.0;
    }
    double findMaximum(KrScalarMultivariableFunction const&, KrRealVector const&,
                       KrRealVector&) const override {
        return 1.0;
    }
    static KrXmlObject* create() { return new ClientElement; }
    static KrToken const tag;

    KrXmlBasicType<std::string> name{"x"};
    KrXmlBasicType<double> level{2.0};
    KrXmlBasicType<KrU32> made{5};
};

KrToken const ClientElement::tag{"urn:client#search"};

TEST(XmlClients, MayAddElementsOfTheirOwn) {
    ClientElement element;
    element.name = "a\tb\n";
    element.level = 3.0;
    element.made = 9;
    ClientElement back;
    std::string const text = KrXml::toString(element);
    ASSERT_TRUE(KrXml::fromString(text, back));
    EXPECT_TRUE(back.equality(&element));
    EXPECT_TRUE(back.name.specified() && back.level.specified());
    EXPECT_TRUE(back.made == 5U);  // what a document says of it is passed over
    EXPECT_TRUE(back.isReadOnlyComponent(KrToken("urn:client#made")));
    EXPECT_FALSE(back.isReadOnlyComponent(KrToken("urn:client#level")));
    EXPECT_FALSE(back.isReadOnlyAttribute(KrToken("name")));
    EXPECT_TRUE(back.hasChildren() && back.hasAttributes());

    // In a container through the reader's factory, or by a creator of its own.
    std::string const document = root + text.substr(text.find("?>") + 2) + end;
    KrXmlFactory factory;
    factory.registerCreator(ClientElement::tag, ClientElement::create);
    EXPECT_EQ(factory.creatorMap().size(), 1U);
    Container container;
    ASSERT_TRUE(KrXml::fromString(document, container, &factory));
    EXPECT_TRUE(element.equality(container.topElement()));
    Container own;
    own.registerComponentCreator(ClientElement::tag, ClientElement::create);
    ASSERT_TRUE(KrXml::fromString(document, own));
    EXPECT_TRUE(own == container);
    CapturedMessages const captured;
    Container without;
    EXPECT_FALSE(KrXml::fromString(document, without));
}

// Reads and writes nothing, and says nothing.
struct SilentElement : ClientElement {
    KrXmlObject* newObject() const override { return new SilentElement; }
    KrBoolean read(KrXmlReader&) override { return false; }
    KrBoolean write(KrXmlWriter&) const override { return false; }
};

TEST(XmlClients, NoFailureIsLeftUnsaid) {
    SilentElement element;
    CapturedMessages captured;
    EXPECT_FALSE(KrXml::fromString("<search xmlns='urn:client#'/>", element));
    EXPECT_EQ(KrXml::toString(element), "");
    KrXmlPairType<SilentElement, KrXmlBasicType<bool>> const pair;
    EXPECT_EQ(KrXml::toString(pair), "");
    EXPECT_EQ(captured.text(),
              "<string>:1:1: search: expected a search that can be read, found another\n"
              "cannot be written: element search\n"
              "cannot be written: element item\n");
    std::ostringstream stream;
    KrXmlWriter writer("", stream);
    writer.startElement(KrToken("urn:a#b c"));
    EXPECT_FALSE(writer.good());
    EXPECT_EQ(captured.messages.back().text, "cannot be written: element name \"urn:a#b c\"\n");
}

// An element that holds a container keeps what its client registered there.
struct Holder : KrElement<Holder, KrXmlCompoundType, ClientElement::tag> {
    void registerComponents() override {
        registerComponent(KrFunction::KrOptimizerContainerToken, &inner);
    }
    bool operator==(Holder const&) const = default;
    Container inner;
};

TEST(XmlClients, CreatorsStayWithTheObjectAtAnyDepth) {
    Holder holder;
    holder.inner.registerComponentCreator(ClientElement::tag, ClientElement::create);
    holder.inner.setTopElement(KrNelderMeadOptimizer());
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(
            KrXml::fromString("<search xmlns='urn:client#'><optimizerContainer xmlns='urn:"
                              "zeibreku:function#'><search xmlns='urn:client#'/>"
                              "</optimizerContainer></search>",
                              holder));
        EXPECT_TRUE(ClientElement().equality(holder.inner.topElement()));
    }
    EXPECT_TRUE(holder.inner.specified());
    Container const moved(std::move(holder.inner));
    EXPECT_EQ(moved.creatorMap().size(), holder.inner.creatorMap().size());
}

TEST(XmlClients, ElementsKnowTheirContainerByPlaceAlone) {
    Container const home;
    KrNelderMeadOptimizer element;
    element.setContainer(&home);
    EXPECT_EQ(KrNelderMeadOptimizer(element).container(), nullptr);
    KrNelderMeadOptimizer other;
    element = other;
    EXPECT_EQ(element.container(), &home);
    EXPECT_TRUE(element == other);
}

TEST(XmlClients, VisitorsAreToldTheKind) {
    struct Visitor : KrXmlObjectVisitor {
        using KrXmlObjectVisitor::visit;
        void visit(KrXmlObject*) override { seen += 'o'; }
        void visit(KrXmlCompoundType*) override { seen += 'c'; }
        std::string seen;
    } visitor;
    KrNelderMeadOptimizer().accept(&visitor);
    Container().accept(&visitor);
    KrXmlRealVector().accept(&visitor);
    EXPECT_EQ(visitor.seen, "coo");
}

}  // namespace
