// Schemas, judged by xmllint. Written documents are valid under them, and they refuse what
// the reader refuses.

#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlEnumType.h"
#include "function/composite/KrCompositeFunctionBranch.h"
#include "function/composite/KrTableFunctionInterpolator.h"
#include "function/object/KrCreators.h"
#include "function/object/KrFunction.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/object/KrScalarMultivariableOptimizerVector.h"
#include "function/object/KrValueTypes.h"
#include "function/optimizer/KrHookeJeevesOptimizer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/XmlLint.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

struct Schemas : testing::Test {
    void SetUp() override {
        if (!XmlLint::isInstalled()) {
            GTEST_SKIP() << "needs xmllint";
        }
    }
};

void expectValid(KrXmlObject const& object) {
    std::string const document = KrXml::toString(object);
    std::string const schema = KrXml::schemaToString(object);
    EXPECT_EQ(XmlLint(schema).complaints(document), "") << schema << document;
}

// `start` is a tag, with attributes or without.
std::string element(std::string const& start, std::string const& content) {
    return '<' + start + " xmlns='urn:zeibreku:function#'>" + content + "</" +
           start.substr(0, start.find(' ')) + '>';
}

TEST_F(Schemas, AgreeWithTheReader) {
    std::string const libraries = "<addLibraries count='1'><item>a b.so</item></addLibraries>";
    std::string sequence = "<nelderMead/>";
    std::string branch = "<tableFunctionInterpolator/>";
    for (int depth = 0; depth < 20; ++depth) {
        sequence = "<sequenceOptimizer><optimizerSequence><hookeJeeves/>" + sequence +
                   "</optimizerSequence></sequenceOptimizer>";
        branch = "<compositeFunctionBranch>" + branch +
                 "<tableFunctionInterpolator/></compositeFunctionBranch>";
    }
    enum Answer { No, Read, Unknown, Valid };  // by the reader, by the schema, by both
    struct {
        Answer answer;
        std::string start;
        std::string content;
    } const cases[] = {
        {Valid, "nelderMead", "<alpha>INF</alpha><beta>-INF</beta><gamma>NaN</gamma>"},
        {Valid, "nelderMead", "<sigma>\n +1.50e-3 </sigma>"},
        {No, "nelderMead", "<alpha>inf</alpha>"},
        {No, "nelderMead", "<alpha/>"},
        {No, "nelderMead", "<alpha><item>1</item></alpha>"},
        {Valid, "nelderMead", "<maxTotalSteps>4294967295</maxTotalSteps>"},
        {Valid, "nelderMead", "<maxTotalSteps>\n +1 </maxTotalSteps><eta>+.5</eta>"},
        {Valid, "nelderMead", "<maxTotalSteps>-0</maxTotalSteps>"},
        {Valid, "multivariableConstraintVector count=' +0 '", ""},
        {No, "nelderMead", "<maxTotalSteps>4294967296</maxTotalSteps>"},
        {Valid, "sequenceOptimizer", "<executeInParallel> 1 </executeInParallel>"},
        {Valid, "hookeJeeves",
         "<directionsMode>\n urn:zeibreku:function#rotated </directionsMode>"},
        {No, "hookeJeeves", "<directionsMode>rotated</directionsMode>"},
        {Valid, "tableFunctionVectorSearch searchOption='equal_spaced'", ""},
        // Any order, each once, and in the namespace.
        {Valid, "nelderMead", "<gamma>2</gamma><alpha>1</alpha><beta>1</beta>"},
        {No, "nelderMead", "<alpha>1</alpha><beta>1</beta><alpha>1</alpha>"},
        {No, "nelderMead", "<alpha xmlns=''>1</alpha>"},
        {No, "nelderMead", "<alpha unit='m'>1</alpha>"},
        // Vectors and pairs.
        {Valid, "nelderMead", "<simplexEdgeLengths><item>1</item></simplexEdgeLengths>"},
        {No, "nelderMead", "<simplexEdgeLengths><alpha>1</alpha></simplexEdgeLengths>"},
        {No, "nelderMead", "<simplexEdgeLengths count='two'/>"},
        {Valid, "quadraticMultivariableConstraint",
         "<secondOrderIndexPairs><item><second>1</second><first>0</first></item>"
         "</secondOrderIndexPairs>"},
        {No, "quadraticMultivariableConstraint",
         "<secondOrderIndexPairs><item><third>1</third></item></secondOrderIndexPairs>"},
        // Containers hold one element of their family, vectors any number.
        {Valid, "unitaryMapContainer", libraries + "<powerUnitaryMap/>"},
        {No, "optimizerContainer", "<linearScalarFunction/>"},
        {No, "optimizerContainer count='1'", "<hookeJeeves/>"},
        {Valid, "scalarMultivariableOptimizerVector count='2'",
         "<hookeJeeves/><nelderMead/>" + libraries},
        {No, "scalarMultivariableOptimizerVector", "<powerUnitaryMap/>"},
        // Classes that hold themselves.
        {Valid, "optimizerContainer", sequence},
        {Valid, "compositeFunctionContainer", branch},
        {No, "compositeFunctionContainer",
         "<compositeFunctionBranch><nelderMead/></compositeFunctionBranch>"},
        // Elements that only a reader's factory creates. It may know other namespaces.
        {Valid, "scalarFunctionContainer", "<multipointScalarFunction/>"},
        {No, "scalarFunctionContainer", "<gaussQuadrature/>"},
        {Unknown, "scalarFunctionContainer", "<decay xmlns='urn:client#'><start/></decay>"},
        {Unknown, "multivariableConstraintVector", "<bare xmlns=''/><a xmlns='urn:client#'/>"},
        // The last of several.
        {Read, "optimizerContainer", "<hookeJeeves/><nelderMead/>"},
    };
    KrXmlFactory const factory = KrCreators::factory();
    XmlLint const lint(KrXml::schemaToString(factory));
    CapturedMessages const captured;
    for (auto const& test : cases) {
        std::string const document = element(test.start, test.content);
        EXPECT_EQ(KrXml::fromString(document, factory) != nullptr,
                  test.answer == Read || test.answer == Valid)
            << document;
        EXPECT_EQ(lint.complaints(document) == "", test.answer == Unknown || test.answer == Valid)
            << document;
    }
    expectValid(*KrXml::fromString(element("optimizerContainer", sequence), factory));
    expectValid(*KrXml::fromString(element("compositeFunctionContainer", branch), factory));
    KrCompositeFunctionBranch alone;  // without a container
    alone.setLeft(KrTableFunctionInterpolator());
    expectValid(alone);
}

TEST_F(Schemas, DescribeValues) {
    using Limits = std::numeric_limits<double>;
    expectValid(KrXmlBasicType<std::string>(" a\tb\n\r <&>\"' ]]> \xc3\xa4 "));
    expectValid(KrXmlBasicType<bool>(true));
    for (double const value : {Limits::infinity(), Limits::quiet_NaN(), -0.0, Limits::max(),
                               Limits::denorm_min(), 1e23}) {
        expectValid(KrXmlBasicType<double>(value));
    }
    KrValueTypes::NamedFunctionVectors lists;
    lists.resize(1);
    lists[0].resize(2);
    expectValid(lists);
}

KrToken const plainTag = KrFunction::ns + "plain";
KrToken const foreignTag("urn:client#foreign");
KrToken const bareTag("bare");

// A client's optimizer with a component of each kind, and none of its base.
template <KrToken const& Tag>
struct Client : KrElement<Client<Tag>, KrNelderMeadOptimizer, Tag> {
    void registerComponents() override {
        KrToken const ns(std::string(Tag.namespaceUri()));
        mode.setEnumString(2, "two words");
        this->registerAttributeComponent(ns + "name", &name);
        this->registerAttributeComponent(KrToken("mode"), &mode);
        this->registerComponent(ns + "lengths", &lengths);
        this->registerComponentReadOnly(ns + "made", &made);
        this->registerComponent(KrFunction::KrOptimizerContainerToken, &optimizer);
        this->registerComponent(KrToken("unqualified"), &made);
        this->registerComponent(ns + "children", &children);
    }
    bool operator==(Client const&) const = default;

    KrXmlBasicType<std::string> name{"a\n b"};
    KrXmlEnumType<KrU32> mode{2};
    KrXmlRealVector lengths;
    KrXmlBasicType<KrU32> made{5};
    KrScalarMultivariableOptimizerContainer optimizer;
    KrXmlVectorType<Client> children;
};

// A container of the client's namespace around elements of the library's.
struct ClientContainer
    : KrElement<ClientContainer, KrScalarMultivariableOptimizerContainer, foreignTag> {};

// Another class with the same tag.
struct Twin : KrElement<Twin, KrNelderMeadOptimizer, plainTag> {};

template <KrToken const& Tag>
void expectClientValid() {
    Client<Tag> client;
    client.lengths.resize(2);
    client.optimizer.setTopElement(KrNelderMeadOptimizer());
    client.children.pushBack(Client<Tag>(client));  // a class that holds itself
    expectValid(client);
    KrScalarMultivariableOptimizerContainer container;
    KrScalarMultivariableOptimizerVector vector;
    for (auto* const holder :
         std::initializer_list<KrXmlBaseVariableCompoundType*>{&container, &vector}) {
        holder->registerComponentCreator(plainTag, Client<plainTag>::creator);
        holder->registerComponentCreator(Tag, Client<Tag>::creator);
    }
    container.setTopElement(client);
    expectValid(container);
    vector.pushBack(KrNelderMeadOptimizer());
    vector.pushBack(client);
    expectValid(vector);
}

TEST_F(Schemas, DescribeClientsElements) {
    expectClientValid<plainTag>();
    expectClientValid<foreignTag>();
    expectClientValid<bareTag>();
    ClientContainer home;
    KrXmlBaseVariableCompoundType::LibraryList libraries;
    libraries.resize(1);
    home.setAddLibraries(libraries);
    home.setTopElement(KrNelderMeadOptimizer());
    expectValid(home);
    // The schema checks all elements of its own namespace.
    XmlLint const own(KrXml::schemaToString(Client<foreignTag>()));
    for (std::string const content : {"<made>x</made>", "<other/>", "<unqualified/>"}) {
        EXPECT_NE(own.complaints("<foreign xmlns='urn:client#'>" + content + "</foreign>"), "");
    }
    // In a factory's schema two classes of one name are two types, in its namespace alone.
    KrXmlFactory factory = KrCreators::factory();
    factory.registerCreator(plainTag, Client<plainTag>::creator);
    factory.registerCreator(KrFunction::ns + "twin", Twin::creator);
    factory.registerCreator(foreignTag, Client<foreignTag>::creator);
    XmlLint const all(KrXml::schemaToString(factory));
    EXPECT_EQ(all.complaints(element("plain name='x'", "<made>1</made>")), "");
    EXPECT_EQ(all.complaints(element("twin", "<eta>1</eta>")), "");
    EXPECT_NE(all.complaints(element("twin", "<made>1</made>")), "");
    EXPECT_NE(all.complaints("<foreign xmlns='urn:client#'/>"), "");
}

TEST(SchemaFiles, AreWrittenForAnyRoot) {
    TemporaryFolder const folder;
    std::string const path = folder / "a.xsd";
    KrNelderMeadOptimizer const optimizer;
    for (KrToken const& root : {optimizer.token(), KrToken("urn:client#search")}) {
        ASSERT_TRUE(optimizer.createSchema(path, root));
        std::string const text = content(path);
        EXPECT_EQ(text == KrXml::schemaToString(optimizer), root == optimizer.token());
        EXPECT_NE(text.find("targetNamespace=\"" + std::string(root.namespaceUri()) + '"'),
                  std::string::npos);
    }
    CapturedMessages const captured;
    EXPECT_FALSE(optimizer.createSchema(path, KrToken("a b\x01")));
    EXPECT_EQ(captured.messages.size(), 1U);
}

TEST(AnyElement, IsReadByItsRoot) {
    KrXmlFactory const factory = KrCreators::factory();
    auto const read = KrXml::fromString(element("hookeJeeves", ""), factory);
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->specified());
    CapturedMessages const captured;
    EXPECT_FALSE(KrXml::fromString("<nelderMead/>", factory));
    EXPECT_FALSE(KrXml::fromString(element("nelderMead", "") + 'x', factory));
    EXPECT_FALSE(KrXml::readFile("absent.xml", factory));
    // The suggestion may be a name that the factory knows.
    KrXmlFactory two;
    two.registerCreator(KrFunction::KrNelderMeadToken, KrNelderMeadOptimizer::creator);
    two.registerCreator(KrFunction::KrHookeJeevesToken, KrHookeJeevesOptimizer::creator);
    EXPECT_FALSE(KrXml::fromString(element("nelderMed", ""), two));
    EXPECT_FALSE(KrXml::fromString(
        element("scalarFunctionContainer", "<multipointScalarfunction/>"), factory));
    EXPECT_FALSE(
        KrXml::fromString(element("tableFunctionVectorSearch serchOption=''", ""), factory));
    EXPECT_EQ(
        captured.text(),
        "<string>:1:1: nelderMead: expected element \"urn:zeibreku:function#nelderMead\", found "
        "element \"nelderMead\"\n"
        "<string>:1:57: expected well-formed XML, found junk after document element\n"
        "absent.xml: cannot be read: No such file or directory\n"
        "<string>:1:1: nelderMed: expected a known element (hookeJeeves, nelderMead), found "
        "element \"nelderMed\": did you mean \"nelderMead\"?\n"
        "<string>:1:57: scalarFunctionContainer/multipointScalarfunction: expected a known element "
        "(linearScalarFunction, addLibraries), found element \"multipointScalarfunction\": did you "
        "mean \"multipointScalarFunction\"?\n"
        "<string>:1:1: tableFunctionVectorSearch: expected a known attribute (searchOption, "
        "lowerBoundaryOption, upperBoundaryOption), found attribute \"serchOption\": did you mean "
        "\"searchOption\"?\n");
}

}  // namespace
