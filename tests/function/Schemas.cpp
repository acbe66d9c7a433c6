// Schemas, judged by xmllint: that they are schemas, that what is written is valid
// under them, and that they refuse what the reader refuses.

#include "foundation/xml/KrXmlEnumType.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlSchema.h"
#include "function/composite/KrCompositeFunctionBranch.h"
#include "function/composite/KrTableFunctionInterpolator.h"
#include "function/composite/KrValueTypes.h"
#include "function/object/KrCreators.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/object/KrScalarMultivariableOptimizerVector.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "function/scalar/KrMultipointScalarFunction.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/XmlLint.h"

#include <gtest/gtest.h>

#include <fstream>
#include <limits>

namespace {

class Schemas : public testing::Test {
protected:
    void SetUp() override {
        if (!XmlLint::isInstalled()) {
            GTEST_SKIP() << "needs xmllint";
        }
    }

    static void expectValid(KrXmlObject const& object) {
        std::string const document = KrXml::toString(object);
        EXPECT_NE(document, "");
        std::string const schema = KrXml::schemaToString(object);
        EXPECT_EQ(XmlLint(schema).complaints(document), "") << schema << document;
    }
};

// `tag` around `content`, in the library's namespace.
std::string element(std::string const& tag, std::string const& content) {
    return '<' + tag + " xmlns='urn:zeibreku:function#'>" + content + "</" +
           tag.substr(0, tag.find(' ')) + '>';
}

TEST_F(Schemas, AgreeWithTheReader) {
    auto const nelderMead = [](std::string const& content) {
        return element("optimizerContainer", "<nelderMead>" + content + "</nelderMead>");
    };
    auto const alpha = [&](std::string const& text) {
        return nelderMead("<alpha>" + text + "</alpha>");
    };
    auto const steps = [&](std::string const& text) {
        return nelderMead("<maxTotalSteps>" + text + "</maxTotalSteps>");
    };
    auto const mode = [](std::string const& text) {
        return element("hookeJeeves", "<directionsMode>" + text + "</directionsMode>");
    };
    auto const parallel = [](std::string const& text) {
        return element("sequenceOptimizer", "<executeInParallel>" + text + "</executeInParallel>");
    };
    std::string const libraries = "<addLibraries count='1'><item>a b.so</item></addLibraries>";
    std::string sequence = "<nelderMead/>";
    std::string branch = "<tableFunctionInterpolator/>";
    for (int depth = 0; depth < 20; ++depth) {
        sequence = "<sequenceOptimizer><optimizerSequence count='2'><hookeJeeves/>" + sequence +
                   "</optimizerSequence></sequenceOptimizer>";
        branch = "<compositeFunctionBranch>" + branch +
                 "<tableFunctionInterpolator/></compositeFunctionBranch>";
    }
    struct {
        bool good;
        std::string document;
    } const cases[] = {
        {true, alpha("INF")},
        {true, alpha("-INF")},
        {true, alpha("NaN")},
        {true, alpha("\n  +1.50e-3 ")},
        {false, alpha("inf")},
        {false, alpha("1,5")},
        {false, alpha("0x10")},
        {false, alpha("1 2")},
        {false, alpha("")},
        {false, alpha("<item>1</item>")},
        {true, steps("4294967295")},
        {false, steps("4294967296")},
        {false, steps("-1")},
        {false, steps("1e3")},
        {true, parallel(" 1 ")},
        {true, parallel("false")},
        {false, parallel("yes")},
        {true, mode("\n  urn:zeibreku:function#rotated\n")},
        {false, mode("rotated")},
        {false, mode("")},
        {true, element("tableFunctionVectorSearch searchOption='equal_spaced'", "")},
        {false, element("tableFunctionVectorSearch searchOption='equal'", "")},
        // Any order, each once, known ones in the namespace, and nothing besides.
        {true, nelderMead("<gamma>2</gamma><alpha>1</alpha><beta>1</beta>")},
        {false, nelderMead("<alpha>1</alpha><beta>1</beta><alpha>1</alpha>")},
        {false, nelderMead("<alpha>1</alpha><delta>1</delta>")},
        {false, nelderMead("<alpha xmlns='urn:other#'>1</alpha>")},
        {false, nelderMead("stray")},
        {false, nelderMead("<alpha unit='m'>1</alpha>")},
        {false, "<optimizerContainer><nelderMead/></optimizerContainer>"},
        {false, element("nothing", "")},
        // Vectors and pairs.
        {true, nelderMead("<simplexEdgeLengths><item>1</item></simplexEdgeLengths>")},
        {false, nelderMead("<simplexEdgeLengths><alpha>1</alpha></simplexEdgeLengths>")},
        {false, nelderMead("<simplexEdgeLengths count='two'/>")},
        {true, element("quadraticMultivariableConstraint",
                       "<secondOrderIndexPairs count='1'><item><second>1</second><first>0</first>"
                       "</item></secondOrderIndexPairs>")},
        {false, element("quadraticMultivariableConstraint",
                        "<secondOrderIndexPairs count='1'><item><third>1</third></item>"
                        "</secondOrderIndexPairs>")},
        // Containers hold one element of their family, vectors any number.
        {true, element("optimizerContainer", "")},
        {true, element("optimizerContainer", "<hookeJeeves/>")},
        {false, element("optimizerContainer", "<linearScalarFunction/>")},
        {false, element("optimizerContainer count='1'", "<hookeJeeves/>")},
        {true, element("scalarMultivariableOptimizerVector count='2'",
                       "<hookeJeeves/><nelderMead/>" + libraries)},
        {false, element("scalarMultivariableOptimizerVector", "<powerUnitaryMap/>")},
        // Classes that hold themselves.
        {true, element("optimizerContainer", sequence)},
        {true, element("compositeFunctionContainer", branch)},
        {false, element("compositeFunctionContainer",
                        "<compositeFunctionBranch><nelderMead/></compositeFunctionBranch>")},
    };
    KrXmlFactory const factory = KrCreators::factory();
    XmlLint const lint(KrXml::schemaToString(factory));
    for (auto const& test : cases) {
        CapturedMessages const captured;
        EXPECT_EQ(KrXml::fromString(test.document, factory) != nullptr, test.good) << test.document;
        EXPECT_EQ(lint.complaints(test.document) == "", test.good) << test.document;
    }
    // A schema describes what a container creates itself; a factory creates more.
    std::string const points = element("scalarFunctionContainer", "<multipointScalarFunction/>");
    EXPECT_NE(KrXml::fromString(points, factory), nullptr);
    EXPECT_NE(lint.complaints(points), "");
    // A library list, whose names the reader reports, is part of the format.
    EXPECT_EQ(lint.complaints(element("unitaryMapContainer", libraries + "<powerUnitaryMap/>")),
              "");
}

TEST_F(Schemas, DescribeContainersAndVectorsWithEachOfTheirElements) {
    KrXmlFactory const factory = KrCreators::factory();
    XmlLint const lint(KrXml::schemaToString(factory));
    int holders = 0;
    for (auto const& [token, creator] : factory.creatorMap()) {
        std::unique_ptr<KrXmlObject> const object(creator());
        expectValid(*object);
        auto const* const holder = dynamic_cast<KrXmlBaseVariableCompoundType*>(object.get());
        if (!holder) {
            continue;
        }
        ++holders;
        for (auto const& child : holder->creatorMap()) {
            std::string const tag(child.first.localName());
            auto const read = KrXml::fromString(
                element(std::string(token.localName()), '<' + tag + "/>"), factory);
            ASSERT_TRUE(read) << tag;
            expectValid(*read);
            EXPECT_EQ(lint.complaints(KrXml::toString(*read)), "");
        }
    }
    EXPECT_EQ(holders, 7);
}

TEST_F(Schemas, DescribeABranchWithoutAContainer) {
    KrCompositeFunctionBranch branch;
    branch.setRight(KrTableFunctionInterpolator());
    branch.setLeft(branch);
    expectValid(branch);
}

TEST_F(Schemas, DescribeValues) {
    using Text = KrXmlBasicType<std::string>;
    expectValid(Text(" a\tb\n\r <&>\"' ]]> \xc3\xa4 "));
    expectValid(KrXmlBasicType<bool>(true));
    for (double const value :
         {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN(), -0.0,
          std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min(), 1e23}) {
        expectValid(KrXmlBasicType<double>(value));
    }
    KrValueTypes::NamedFunction function;
    KrValueTypes::NamedFunctionVector list;
    list.pushBack(function);
    KrValueTypes::NamedFunctionVectors lists;
    lists.pushBack(list);
    expectValid(lists);
}

KrToken const plainTag = KrFunction::ns + "plain";
KrToken const foreignTag("urn:client#foreign");
KrToken const bareTag("bare");
KrToken const homeTag("urn:client#home");

// A client's element with a component of every kind, one of them of its own class.
template <KrToken const& Tag>
struct Client : KrElement<Client<Tag>, KrXmlCompoundType, Tag> {
    explicit Client(int depth = 0) {
        if (depth > 0) {
            children.pushBack(Client(depth - 1));
        }
        lengths.pushBack(KrXmlBasicType<double>(0.5));
        optimizer.setTopElement(KrNelderMeadOptimizer());
    }
    void registerComponents() override {
        KrToken const ns(std::string(Tag.namespaceUri()));
        mode.setEnumString(2, "two words");
        this->registerAttributeComponent(ns + "name", &name);
        this->registerAttributeComponent(KrToken("mode"), &mode);
        this->registerComponent(ns + "lengths", &lengths);
        this->registerComponentReadOnly(ns + "made", &made);
        this->registerComponent(KrFunction::KrOptimizerContainerToken, &optimizer);
        this->registerComponent(KrToken("bare"), &flag);
        this->registerComponent(ns + "children", &children);
    }
    bool operator==(Client const&) const = default;

    KrXmlBasicType<std::string> name{"a\n b"};
    KrXmlEnumType<KrU32> mode{2};
    KrXmlRealVector lengths;
    KrXmlBasicType<KrU32> made{5};
    KrScalarMultivariableOptimizerContainer optimizer;
    KrXmlBasicType<bool> flag;
    KrXmlVectorType<Client> children;
};

TEST_F(Schemas, DescribeClientsElements) {
    expectValid(Client<plainTag>(3));
    // In a namespace of its own, or in none.
    expectValid(Client<foreignTag>(3));
    expectValid(Client<bareTag>(1));
    // What is in the schema's own namespace is still checked.
    XmlLint const lint(KrXml::schemaToString(Client<foreignTag>()));
    EXPECT_NE(lint.complaints("<foreign xmlns='urn:client#'><made>x</made></foreign>"), "");
    EXPECT_NE(lint.complaints("<foreign xmlns='urn:client#'><other/></foreign>"), "");
    EXPECT_NE(lint.complaints("<foreign xmlns='urn:other#'/>"), "");
}

template <KrToken const& Tag>
struct ClientOptimizer : KrElement<ClientOptimizer<Tag>, KrScalarMultivariableOptimizer, Tag> {
    double findMinimum(KrScalarMultivariableFunction const&, KrRealVector const&,
                       KrRealVector&) const override {
        return 0.0;
    }
    double findMaximum(KrScalarMultivariableFunction const&, KrRealVector const&,
                       KrRealVector&) const override {
        return 0.0;
    }
    void registerComponents() override { this->registerComponent(Tag, &level); }
    bool operator==(ClientOptimizer const&) const = default;

    KrXmlBasicType<double> level{2.0};
};

struct ClientContainer
    : KrElement<ClientContainer, KrScalarMultivariableOptimizerContainer, homeTag> {};

TEST_F(Schemas, DescribeClientsElementsInContainers) {
    KrScalarMultivariableOptimizerVector vector;
    KrScalarMultivariableOptimizerContainer container;
    for (auto* const holder :
         std::initializer_list<KrXmlBaseVariableCompoundType*>{&vector, &container}) {
        holder->registerComponentCreator(plainTag, ClientOptimizer<plainTag>::creator);
        holder->registerComponentCreator(foreignTag, ClientOptimizer<foreignTag>::creator);
        holder->registerComponentCreator(bareTag, ClientOptimizer<bareTag>::creator);
    }
    auto const put = [&](KrScalarMultivariableOptimizer const& optimizer) {
        vector.pushBack(optimizer);
        container.setTopElement(optimizer);
        expectValid(container);
    };
    put(ClientOptimizer<plainTag>());
    put(ClientOptimizer<foreignTag>());
    put(ClientOptimizer<bareTag>());
    put(KrNelderMeadOptimizer());
    expectValid(vector);
    // A container of the client's namespace around the library's elements.
    ClientContainer home;
    KrXmlBaseVariableCompoundType::LibraryList libraries;
    libraries.pushBack(KrXmlBasicType<std::string>("a.so"));
    home.setAddLibraries(libraries);
    home.setTopElement(KrNelderMeadOptimizer());
    expectValid(home);
    // Two classes of one tag are two types; in a factory, other namespaces are left out.
    KrXmlFactory factory = KrCreators::factory();
    factory.registerCreator(plainTag, ClientOptimizer<plainTag>::creator);
    factory.registerCreator(foreignTag, ClientOptimizer<foreignTag>::creator);
    factory.registerCreator(KrFunction::ns + "twin", Client<plainTag>::creator);
    XmlLint const lint(KrXml::schemaToString(factory));
    EXPECT_EQ(lint.complaints(element("plain", "<plain>1</plain>")), "");
    EXPECT_EQ(lint.complaints(element("twin name='x'", "<made>1</made>")), "");
    EXPECT_NE(lint.complaints(element("plain name='x'", "<made>1</made>")), "");
    EXPECT_NE(lint.complaints("<foreign xmlns='urn:client#'/>"), "");
}

TEST(SchemaFiles, AreWrittenForAnyRoot) {
    TemporaryFolder const folder;
    std::string const path = (folder.path / "a.xsd").string();
    KrNelderMeadOptimizer const optimizer;
    ASSERT_TRUE(optimizer.createSchema(path, optimizer.token()));
    std::ifstream file(path);
    std::string const text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(text, KrXml::schemaToString(optimizer));
    EXPECT_EQ(text, KrXml::schemaToString(optimizer));  // and always the same
    ASSERT_TRUE(optimizer.createSchema(path, KrToken("urn:client#search")));
    CapturedMessages const captured;
    EXPECT_FALSE(optimizer.createSchema(folder.path.string(), optimizer.token()));
    EXPECT_FALSE(optimizer.createSchema(path, KrToken("a b\x01")));
    EXPECT_EQ(captured.messages.size(), 2U);
}

TEST(AnyElement, IsReadByItsRoot) {
    KrXmlFactory const factory = KrCreators::factory();
    EXPECT_EQ(factory.creatorMap().size(), 21U);
    KrMultipointScalarFunction points;
    auto const read = KrXml::fromString(KrXml::toString(points), factory);
    ASSERT_TRUE(read);
    EXPECT_TRUE(points.equality(read.get()));
    EXPECT_TRUE(read->specified());
    struct {
        std::string document;
        std::string messages;
    } const refused[] = {
        {"<nelderMead/>",
         "<string>:1:1: nelderMead: expected a known element, found element \"nelderMead\"\n"},
        {element("alpha", "1"),
         "<string>:1:1: alpha: expected a known element, found element "
         "\"urn:zeibreku:function#alpha\"\n"},
        {"", "<string>:1:1: : expected well-formed XML, found no element found\n"},
        {element("nelderMead", "") + "x",
         "<string>:1:57: : expected well-formed XML, found junk after document element\n"},
    };
    for (auto const& test : refused) {
        CapturedMessages const captured;
        EXPECT_EQ(KrXml::fromString(test.document, factory), nullptr);
        EXPECT_EQ(captured.text(), test.messages);
    }
    CapturedMessages const captured;
    EXPECT_EQ(KrXml::readFile("absent.xml", factory), nullptr);
    EXPECT_EQ(captured.text(), "absent.xml: cannot be read: No such file or directory\n");
}

}  // namespace
