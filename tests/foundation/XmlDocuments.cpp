#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlFactory.h"
#include "foundation/xml/KrXmlPairType.h"
#include "foundation/xml/KrXmlReader.h"
#include "function/object/KrFunction.h"
#include "function/object/KrScalarFunctionContainer.h"
#include "function/scalar/KrLinearScalarFunction.h"
#include "tests/support/Allocations.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>
#include <thread>
#include <tuple>

namespace {

namespace fs = std::filesystem;
using Container = KrScalarFunctionContainer;

TEST(XmlDocuments, ChunksMayEndAnywhere) {
    // Longer than a chunk, with texts and tags across every boundary.
    std::string text;
    std::string expected;
    for (int i = 0; i < 40'000; ++i) {
        text += "a&amp;" + std::to_string(i) + "\n";
        expected += "a&" + std::to_string(i) + "\n";
    }
    KrXmlBasicType<std::string> value;
    ASSERT_TRUE(
        KrXml::fromString("<item xmlns='urn:zeibreku:function#'>" + text + "</item>", value));
    EXPECT_EQ(value.value(), expected);
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
    EXPECT_EQ(captured.text(), "a.xml:1:1: expected a readable document, found a read error\n");
    EXPECT_EQ(reader.errorCount(), 1U);
    // A stream that throws for its owner throws through the reader.
    std::istream throwing(&buffer);
    throwing.exceptions(std::ios::badbit);
    KrXmlReader other(throwing);
    EXPECT_THROW(other.finish(), std::ios_base::failure);
}

TEST(XmlDocuments, AnAbandonedReaderStillReportsWhatItOmitted) {
    Kr::Print& print = Kr::Print::instance();
    std::string last;
    Kr::Print::Sink const before = print.setSink([&](Kr::Message const& message) {
        last = message.text;
        if (last.find("at most") != std::string::npos) {
            throw std::runtime_error("sink");  // a destructor must catch it
        }
    });
    {
        std::istringstream stream("<a/>");
        KrXmlReader reader(stream, "a.xml");
        for (int i = 0; i < 1002; ++i) {
            reader.refuse("x", "y");
        }
    }
    print.setSink(before);
    EXPECT_EQ(last, "a.xml:1:1: expected at most 1000 refusals, found 2 more\n");
}

TEST(XmlDocuments, NestingHasALimitForReaderAndWriter) {
    std::string const path = ": item/item/item/item/.../item/item/item/item: ";
    for (auto const& [depth, limit, place] : {std::tuple{256, 256, std::string()},
                                              {257, 256, ":258:513" + path},
                                              {3, 2, ":4:5: item/item: "},
                                              {257, 300, ""}}) {
        CapturedMessages const captured;
        std::stringstream stream;
        KrXmlWriter writer("", stream);
        KrXmlReader reader(stream);
        if (limit != 256) {
            writer.setDepthLimit(static_cast<std::size_t>(limit));
            reader.setDepthLimit(static_cast<std::size_t>(limit));
        }
        for (int i = 0; i < depth; ++i) {
            writer.startElement(KrXml::KrItemToken);
        }
        for (int i = 0; i < depth; ++i) {
            writer.endElement();
        }
        EXPECT_EQ(writer.good(), place.empty());
        EXPECT_EQ(reader.finish(), place.empty());
        std::string const most = std::to_string(limit) + " elements";
        EXPECT_EQ(captured.text(), place.empty()
                                       ? ""
                                       : "cannot be written: nesting of more than " + most + "\n" +
                                             place + "expected nesting of at most " + most +
                                             ", found a deeper element\n");
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

TEST(XmlFiles, AreReplacedWholeOrNotAtAll) {
    TemporaryFolder const folder;
    std::string const path = folder / "settings.xml";
    std::string const link = folder / "link.xml";
    KrLinearScalarFunction function;
    ASSERT_TRUE(KrXml::writeFile(path, function));
    EXPECT_EQ(content(path), KrXml::toString(function));
    // Permissions stay, and a link stays a link.
    ::chmod(path.c_str(), 0640);
    fs::create_symlink(path, link);
    function.setEndValue(1.5);
    ASSERT_TRUE(KrXml::writeFile(link, function));
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(path).permissions(), static_cast<fs::perms>(0640));
    KrLinearScalarFunction back;
    ASSERT_TRUE(KrXml::readFile(path, back));
    EXPECT_TRUE(back == function);
    // A link may name a file that does not exist yet. A name may have 255 characters.
    fs::create_symlink("later.xml", folder / "dangling.xml");
    ASSERT_TRUE(KrXml::writeFile(folder / "dangling.xml", function));
    EXPECT_TRUE(fs::is_regular_file(folder / "later.xml"));
    EXPECT_TRUE(KrXml::writeFile(folder / std::string(255, 'x'), function));
    // An object that cannot be written leaves the file as it was, and no other.
    CapturedMessages const captured;
    EXPECT_FALSE(KrXml::writeFile(path, KrXmlBasicType<std::string>("\x01")));
    EXPECT_EQ(content(path), KrXml::toString(function));
    EXPECT_EQ(folder.fileCount(), 5);
    EXPECT_EQ(captured.messages.back().text, path + ": not written\n");
}

TEST(XmlFiles, OfOneFolderAreWrittenSideBySide) {
    TemporaryFolder const folder;
    std::vector<int> failures(6);
    std::vector<std::thread> threads;
    for (int writer = 0; writer < 6; ++writer) {
        threads.emplace_back([&, writer] {
            std::string const path = folder / std::to_string(writer);
            KrLinearScalarFunction function;
            for (int i = 0; i < 100; ++i) {
                function.setStartValue(writer);
                function.setEndValue(i);
                bool const written = KrXml::writeFile(path, function);
                failures[writer] += !written || content(path) != KrXml::toString(function);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, std::vector<int>(6));
    EXPECT_EQ(folder.fileCount(), 6);
}

// While it is filled, the new file is as private as the one that it replaces.
TEST(XmlFiles, ArePrivateWhileTheyAreReplaced) {
    static TemporaryFolder const folder;
    static fs::perms seen;
    struct Watching : KrLinearScalarFunction {
        KrBoolean write(KrXmlWriter& writer) const override {
            for (auto const& file : fs::directory_iterator(folder.path)) {
                seen |= file.status().permissions();
            }
            return KrLinearScalarFunction::write(writer);
        }
    } const function;
    std::string const path = folder / "private.xml";
    for (fs::perms const mode : {fs::perms(0600), fs::perms(0660)}) {
        std::ofstream(path) << "old";
        fs::permissions(path, mode);
        seen = fs::perms::none;
        ASSERT_TRUE(KrXml::writeFile(path, function));
        EXPECT_EQ(seen, mode);
        EXPECT_EQ(fs::status(path).permissions(), mode);
    }
    if (::geteuid() != 0) {
        GTEST_SKIP() << "owner and group are root's to give";
    }
    ASSERT_EQ(::chown(path.c_str(), 65534, 65533), 0);
    ASSERT_TRUE(KrXml::writeFile(path, function));
    struct stat state {};
    ::stat(path.c_str(), &state);
    EXPECT_EQ(state.st_uid, 65534U);
    EXPECT_EQ(state.st_gid, 65533U);
    // A process that cannot keep the group gives the group's rights to no other one.
    fs::permissions(folder.path, fs::perms::all);
    fs::permissions(path, fs::perms(0664));
    ASSERT_EQ(::chown(path.c_str(), 65532, 65533), 0);
    ASSERT_EQ(::seteuid(65532), 0);
    bool const written = KrXml::writeFile(path, function);
    ASSERT_EQ(::seteuid(0), 0);
    EXPECT_TRUE(written);
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0644));
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
struct ClientElement : KrBaseScalarFunction {
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
    double evaluate(double const& x) const override { return x; }
    static KrXmlObject* create() { return new ClientElement; }
    static KrToken const tag;

    KrXmlBasicType<std::string> name{"x"};
    KrXmlBasicType<double> level{2.0};
    KrXmlBasicType<KrU32> made{5};
};

KrToken const ClientElement::tag{"urn:client#ramp"};

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
    EXPECT_TRUE(back.made == 5U);  // a document does not change it
    EXPECT_TRUE(back.isReadOnlyComponent(KrToken("urn:client#made")));
    EXPECT_FALSE(back.isReadOnlyComponent(KrToken("urn:client#level")));
    EXPECT_FALSE(back.isReadOnlyAttribute(KrToken("name")));
    EXPECT_TRUE(back.hasChildren() && back.hasAttributes());

    // In a container through the reader's factory, or by a creator of its own.
    std::string const document = "<scalarFunctionContainer xmlns='urn:zeibreku:function#'>" +
                                 text.substr(text.find("?>") + 2) + "</scalarFunctionContainer>";
    KrXmlFactory factory;
    factory.registerCreator(ClientElement::tag, ClientElement::create);
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

// Fails to read and to write without a message.
struct SilentElement : ClientElement {
    KrXmlObject* newObject() const override { return new SilentElement; }
    KrBoolean read(KrXmlReader&) override { return false; }
    KrBoolean write(KrXmlWriter&) const override { return false; }
};

TEST(XmlClients, EveryFailureHasAMessage) {
    SilentElement element;
    CapturedMessages captured;
    EXPECT_FALSE(KrXml::fromString("<ramp xmlns='urn:client#'/>", element));
    EXPECT_EQ(KrXml::toString(element), "");
    KrXmlPairType<SilentElement, KrXmlBasicType<bool>> const pair;
    EXPECT_EQ(KrXml::toString(pair), "");
    EXPECT_EQ(captured.text(),
              "<string>:1:1: ramp: expected a ramp that can be read, found another\n"
              "cannot be written: element ramp\n"
              "cannot be written: element item\n");
    for (std::string const name : {"b c", "a:b", "-a", "1", "\xFF", "\xC3\x97", "\xE2\x80\xA8", "",
                                   "a-1.b_\xC3\xA9\xCE\xB1"}) {
        std::ostringstream stream;
        KrXmlWriter writer("", stream);
        writer.startElement(KrToken("urn:a#" + name));
        EXPECT_EQ(writer.good(), name.starts_with("a-1")) << name;
    }
    EXPECT_EQ(captured.messages.back().text, "cannot be written: element name \"urn:a#\"\n");
}

// An element that holds a container keeps what its client registered there.
struct Holder : KrElement<Holder, KrXmlCompoundType, ClientElement::tag> {
    void registerComponents() override {
        registerComponent(KrFunction::KrScalarFunctionContainerToken, &inner);
    }
    bool operator==(Holder const&) const = default;
    Container inner;
};

TEST(XmlClients, CreatorsStayWithTheObjectAtAnyDepth) {
    Holder holder;
    holder.inner.registerComponentCreator(ClientElement::tag, ClientElement::create);
    holder.inner.setTopElement(KrLinearScalarFunction());
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(
            KrXml::fromString("<ramp xmlns='urn:client#'><f:scalarFunctionContainer "
                              "xmlns:f='urn:zeibreku:function#'><ramp/>"
                              "</f:scalarFunctionContainer></ramp>",
                              holder));
        EXPECT_TRUE(ClientElement().equality(holder.inner.topElement()));
    }
    EXPECT_TRUE(holder.inner.specified());
    Container const moved(std::move(holder.inner));
    EXPECT_EQ(moved.creatorMap().size(), holder.inner.creatorMap().size());
}

TEST(XmlClients, ARefusedDocumentCostsWhatItHolds) {
    KrXmlVectorType<KrXmlRealVector> lists;
    lists.resize(1000);
    for (KrU32 i = 0; i < lists.size(); ++i) {
        lists[i].resize(1);
    }
    CapturedMessages const captured;
    std::size_t const before = allocationCount();
    EXPECT_FALSE(KrXml::fromString("<item xmlns='urn:zeibreku:function#'>1</item>", lists));
    EXPECT_LT(allocationCount() - before, 200U);
    EXPECT_EQ(lists.size(), 1000U);
}

}  // namespace
