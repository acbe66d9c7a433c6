// Faults that the reader accepts, seeded into the examples: each is found at its line, and nothing
// is found in the examples as they are.

#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlObserver.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/object/KrScalarFunctionContainer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "function/tools/KrLint.h"
#include "search/KrSearchCreators.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Files.h"
#include "tests/support/Texts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <map>
#include <sstream>
#include <stdexcept>

namespace {

// "LINE:COLUMN RULE" of each finding, one a line, and the messages of the reader.
std::string found(KrLint const& lint, std::string const& text) {
    static KrXmlFactory const factory = KrSearchCreators::factory();
    CapturedMessages const messages;
    std::istringstream stream(text);
    KrXmlReader reader(stream, "f.xml");
    std::vector<KrLintFinding> findings;
    lint.read(reader, factory, findings);
    std::string all = messages.text();
    for (KrLintFinding const& finding : findings) {
        all += std::to_string(finding.line) + ':' + std::to_string(finding.column) + ' ' +
               finding.rule + '\n';
    }
    return all;
}

// The lines and the rules, without the columns.
std::string found(std::string const& text) {
    std::istringstream lines(found(KrLint(), text));
    std::string all;
    for (std::string line; std::getline(lines, line);) {
        all += (all.empty() ? "" : ", ") + line.substr(0, line.find(':')) +
               line.substr(line.find(' '));
    }
    return all;
}

std::string example(std::string const& name) {
    return content(ZEIBREKU_SOURCE_DIR "/examples/" + name + ".xml");
}

// A table of one axis, on one line.
std::string table(std::string const& breakpoints, std::string const& values,
                  std::string const& options = "") {
    auto const list = [](std::string const& numbers) {
        std::istringstream stream(numbers);
        std::string all;
        for (std::string number; stream >> number;) {
            all += item(number);
        }
        return all;
    };
    return "<tableFunctionInterpolator><independentData><tableFunctionVectorSearch "
           "searchOption='bisection' " +
           options + "><independentVector>" + list(breakpoints) +
           "</independentVector></tableFunctionVectorSearch></independentData><dependentData>" +
           item(list(values)) + "</dependentData></tableFunctionInterpolator>";
}

// A tree of one node a line, from line 2 on.
std::string tree(std::string const& nodes) {
    return document("compositeFunctionContainer", "\n" + nodes);
}

TEST(Lint, FindsNothingInTheExamples) {
    int files = 0;
    for (auto const& entry :
         std::filesystem::recursive_directory_iterator(ZEIBREKU_SOURCE_DIR "/examples")) {
        std::string const name = entry.path().filename();
        if (entry.path().extension() == ".xml" && name != "damaged.xml" && name != "unknown.xml" &&
            name != "settings.xml") {
            EXPECT_EQ(found(content(entry.path())), "") << entry.path();
            ++files;
        }
    }
    EXPECT_GT(files, 15);
}

TEST(Lint, FindsEachSeededFaultAtItsLine) {
    std::string const wing = "04_tables/aerodynamics";
    std::string const leaves = "04_tables/leaves";
    std::string const points = "02_functions/points";
    std::string const quadratic = "02_functions/quadratic";
    std::string const simplex = "01_minimise/nelder-mead";
    std::string const pattern = "01_minimise/hooke-jeeves";
    std::string const filter = "01_minimise/implicit-filtering";
    std::string const batches = "01_minimise/multidirectional";
    std::string const search = "09_fit/search";
    struct {
        std::string file;
        std::map<std::string, std::string> edits;  // the first place of each
        std::string found;
    } const cases[] = {
        {wing,
         {{"<item>4</item><item>8</item>", "<item>8</item><item>4</item>"}},
         "11 breakpoints"},
        {wing, {{"<item>0.5</item><item>0.8", "<item>0.5</item><item>0.5"}}, "15 breakpoints"},
        {wing, {{"<item>1.2</item><item>2", "<item>12</item><item>2"}}, "37 breakpoints"},
        {wing, {{"<item>0.5<", "<item>INF<"}}, "15 finite"},
        {wing, {{"<item>8</item>", "<item>8.01</item>"}}, "11 equal-spaced"},
        {wing, {{"=\"bisection\">", "=\"linear\">"}}, "14 linear-steps"},
        {wing, {{"=\"bisection\" lower", "=\"linear\" lower"}}, "36 linear-steps"},
        {wing, {{" searchOption=\"bisection\" lower", " lower"}}, "36 linear-steps"},
        {wing, {{"<item count=\"15\">\n          <item>0.02</item>", "<item>"}}, "24 table-length"},
        {wing, {{"<item count=\"9\">", "<item><item>0</item>"}}, "41 table-surplus"},
        {wing, {{"<item>1.05", "<item>NaN"}}, "22 finite"},
        {wing, {{"<item>0.8</item>", "<item>3</item>"}}, "31 child-covered"},
        {leaves,
         {{"<independentVector><item>0</item><item>3</item></independentVector>", ""}},
         "12 no-breakpoints"},
        {leaves,
         {{"<item>3</item><item>3</item><item>3</item><item>3</item>",
           "<item>3</item><item>3</item></item><item>"}},
         "34 child-values, 44 table-length, 44 table-length"},
        {leaves,
         {{"<item><item>3</item><item>3</item><item>3</item><item>3</item></item>",
           "<item><item>3</item><item>3</item></item>"},
          {"\n          <tableFunctionVectorSearch searchOption=\"bisection\">\n"
           "            <independentVector><item>0</item><item>1</item></independentVector>\n"
           "          </tableFunctionVectorSearch>",
           ""}},
         "34 child-dimension"},
        {points,
         {{"<item>0</item><item>1</item>", "<item>1</item><item>0</item>"}},
         "5 breakpoints"},
        {points,
         {{"<domainValues count=\"3\"><item>0", "<domainValues><item>-1</item><item>0"}},
         "4 list-lengths"},
        {points, {{"<item>10<", "<item>NaN<"}}, "4 finite"},
        {quadratic,
         {{"count=\"1\"><item>0</item>", "><item>0</item><item>3</item>"}},
         "6 list-lengths"},
        {quadratic,
         {{"<firstOrderIndices count=\"1\"><item>0</item>",
           "<firstOrderIndices><item>0</item><item>0</item>"},
          {"<firstOrderCoefficients count=\"1\">", "<firstOrderCoefficients><item>1</item>"}},
         "6 duplicate-index"},
        {quadratic, {{"<second>1<", "<second>0<"}}, "10 duplicate-index"},
        {quadratic,
         {{"<first>0</first><second>1<", "<first>2</first><second>1<"}},
         "10 pair-order"},
        {quadratic,
         {{"=\"2\"><item>1</item><item>2</item>", "=\"1\"><item>1</item>"}},
         "8 list-lengths"},
        {quadratic, {{"<offset>-3", "<offset>INF"}}, "5 finite"},
        {"06_quadrature/order-20", {{"20", "33"}}, "3 quadrature-order"},
        {"02_functions/s-curve", {{"<initialSlope>0", "<initialSlope>1.5"}}, "5 range"},
        {"02_functions/s-curve", {{"<centerSlope>4", "<centerSlope>1.9"}}, "7 range"},
        {"02_functions/s-curve",
         {{"<center>0.5", "<center>0.25"},
          {"<initialSlope>0", "<initialSlope>1"},
          {"<centerSlope>4", "<centerSlope>3.5"}},
         ""},
        {"02_functions/line", {{"<endValue>3", "<endValue>NaN"}}, "5 finite"},
        {simplex, {{"<stoppingThreshold>1e-12", "<stoppingThreshold>-1"}}, "6 range"},
        {simplex, {{"<maxTotalSteps>1000", "<maxTotalSteps>0"}}, "7 range"},
        {simplex,
         {{"1e-12", "0"}, {">1000<", ">4294967295<"}, {">2000<", ">4294967295<"}},
         "6 endless"},
        {simplex,
         {{">2000<", ">3<"},
          {"<defaultSimplexEdgeLength>0.3</defaultSimplexEdgeLength>",
           "<simplexEdgeLengths><item>1</item><item>1</item><item>1</item></simplexEdgeLengths>"}},
         "8 budget"},
        {batches, {{"<stopping", "<alpha>2</alpha><gamma>1.5</gamma><stopping"}}, "5 range"},
        {batches, {{">0.3<", ">0<"}}, "7 range"},
        {pattern, {{"1e-07", "2"}}, "5 range"},
        {pattern, {{">2000<", ">1<"}}, "6 range"},
        {pattern, {{"1e-07", "0"}, {">2000<", ">4000000000<"}}, "5 range, 5 endless"},
        {filter, {{">2000<", ">4294967295<"}}, "7 endless"},
        {filter, {{">0.25<", ">1<"}}, "5 range"},
        {"01_minimise/sequence",
         {{"</optimizerSequence>", "</optimizerSequence><numberPasses>0</numberPasses>"}},
         "17 range"},
        {search, {{"<lower>0</lower><upper>1<", "<lower>1</lower><upper>0<"}}, "4 variable"},
        {search, {{"<start>1.5<", "<start>11<"}}, "5 variable"},
        {search, {{"<name>b3", "<name>b2"}}, "6 variable"},
        {search, {{"<name>b4", "<name>b 4"}}, "8 variable"},
        {search, {{"<scale>0.01", "<scale>0"}}, "8 range"},
        {search, {{"<upper>1<", "<upper>-INF<"}}, "4 variable, 4 range"},
        {search, {{"<maxFunctionEvaluations>10000", "<maxFunctionEvaluations>5"}}, "21 budget"},
        {search,
         {{"<maxSeconds>60</maxSeconds>", "<maxEvaluations>6</maxEvaluations>"}},
         "29 budget"},
        {search,
         {{"<maxSeconds>60</maxSeconds>", ""},
          {"1e-17", "0"},
          {"<maxTotalSteps>10000", "<maxTotalSteps>2000000000"},
          {"<maxFunctionEvaluations>10000", "<maxFunctionEvaluations>2000000000"}},
         "19 endless"},
        {search,
         {{"1e-17", "0"},
          {"<maxTotalSteps>10000", "<maxTotalSteps>2000000000"},
          {"<maxFunctionEvaluations>10000", "<maxFunctionEvaluations>2000000000"}},
         ""},
        {search,
         {{"<defaultSimplexEdgeLength>0.1</defaultSimplexEdgeLength>",
           "<simplexEdgeLengths><item>1</item><item>1</item><item>1</item><item>1</item>"
           "<item>1</item><item>1</item></simplexEdgeLengths>"}},
         "24 list-lengths"},
        {search,
         {{"<defaultSimplexEdgeLength>0.1</defaultSimplexEdgeLength>",
           "<simplexEdgeLengths><item>1</item><item>1</item><item>1</item><item>1</item>"
           "<item>1</item></simplexEdgeLengths>"}},
         ""},
        {search,
         {{"<maxSeconds>60</maxSeconds>",
           "<constraints><linearMultivariableConstraint><firstOrderIndices><item>5</item>"
           "</firstOrderIndices><firstOrderCoefficients><item>1</item>"
           "</firstOrderCoefficients></linearMultivariableConstraint></constraints>"}},
         "29 index-range"},
        {search, {{"<optimizer>", "<!--"}, {"</optimizer>", "-->"}}, "2 incomplete-search"},
        {"06_quadrature/order-21",
         {{"order -->", "orders -->"}},
         "3 lint-comment, 5 quadrature-order"},
    };
    for (auto const& [file, edits, expected] : cases) {
        std::string text = example(file);
        for (auto const& [from, to] : edits) {
            std::size_t const begin = text.find(from);
            ASSERT_NE(begin, std::string::npos) << file << ": " << from;
            text.replace(begin, from.size(), to);
        }
        EXPECT_EQ(found(text), expected) << file << ": " << edits.begin()->second;
    }
}

TEST(Lint, KnowsTheAdmissibleRanges) {
    struct {
        std::string element;
        std::string component;
        std::string outside;
        std::string inside;
    } const cases[] = {
        {"nelderMead", "alpha", "0 -1 NaN INF", "1e-9 3"},
        {"nelderMead", "beta", "0 1 NaN", "0.1 0.9"},
        {"nelderMead", "gamma", "1 0.5 INF", "1.01"},
        {"nelderMead", "sigma", "0 1", "0.5"},
        {"nelderMead", "eta", "-1 NaN", "0 1"},
        {"nelderMead", "stoppingThreshold", "-1e-9 INF", "0"},
        {"nelderMead", "maxFunctionEvaluations", "0", "1 4294967295"},
        {"multidirectionalSearch", "alpha", "0", "1.9"},
        {"multidirectionalSearch", "beta", "1", "0.5"},
        {"multidirectionalSearch", "gamma", "1 -2", "1.1"},
        {"implicitFiltering", "lineSearchAlpha", "1 -1", "0"},
        {"implicitFiltering", "lineSearchMaxIterations", "0", "1"},
        {"implicitFiltering", "lineSearchInitialLambdaMultiplier", "0 NaN", "1"},
        {"implicitFiltering", "tau", "-1", "0"},
        {"implicitFiltering", "simplexScaleFactor", "1 0", "0.75"},
        {"hookeJeeves", "reductionFactor", "1 0", "0.25"},
        {"hookeJeeves", "defaultEdgeLength", "0 NaN", "-1"},
        {"powerUnitaryMap", "exponent", "0 -1", "0.5"},
    };
    for (auto const& [element, tag, outside, inside] : cases) {
        for (bool const isInside : {false, true}) {
            std::istringstream values(isInside ? inside : outside);
            for (std::string value; values >> value;) {
                EXPECT_EQ(found(document(element, "\n" + component(tag, value))),
                          isInside ? "" : "2 range")
                    << element << ' ' << tag << ' ' << value;
            }
        }
    }
    EXPECT_EQ(found(document("hookeJeeves",
                             "<edgeLengths><item>1</item>\n<item>0</item>"
                             "\n<item>NaN</item></edgeLengths>")),
              "2 range");
}

TEST(Lint, KnowsWhichBoxesCoverAnother) {
    std::string const branch = "compositeFunctionBranch";
    std::string const low = "lowerBoundaryOption='extrapolate'";
    std::string const high = "upperBoundaryOption='extrapolate'";
    std::string const left = table("0 1", "0 0");
    std::string const middle = table("0.25 0.75", "0 0", low + " " + high);
    std::string const right = table("1 2", "0 0");
    std::string const beyond = table("3 4", "0 0");
    auto const joined = [&](std::string const& a, std::string const& b) {
        return component(branch, a + "\n" + b);
    };
    EXPECT_EQ(found(tree(joined(left, right))), "");   // they touch
    EXPECT_EQ(found(tree(joined(middle, left))), "");  // a table comes before extrapolation
    EXPECT_EQ(found(tree(joined(left, middle))), "3 child-covered");
    EXPECT_EQ(found(tree(joined(left, left))), "3 child-covered");
    // Together, the tables of a branch cover what none of them covers alone.
    std::string const both = joined(left, right);
    EXPECT_EQ(found(tree(joined(both, table("0.5 1.5", "0 0")))), "4 child-covered");
    EXPECT_EQ(found(tree(joined(both, table("0.5 2.5", "0 0")))), "");
    // A gap between them is open, unless one of them extrapolates into it.
    EXPECT_EQ(found(tree(joined(joined(left, beyond), right))), "");
    EXPECT_EQ(found(tree(joined(joined(table("0 1", "0 0", high), beyond), right))),
              "4 child-covered");
    EXPECT_EQ(found(tree(joined(joined(table("1 0", "0 0", low), beyond), right))),
              "4 child-covered");
    EXPECT_EQ(found(tree(joined(joined(left, table("4 3", "0 0", high)), right))),
              "4 child-covered");
    // The branches that are never evaluated.
    EXPECT_EQ(found(tree(component(branch, left))), "");
    EXPECT_EQ(found(tree(component(branch, component(branch, left) + "\n" + right))),
              "2 child-count");
    EXPECT_EQ(found(tree(component(branch, left + "\n" + right + "\n" + beyond))), "4 child-count");
    // A table without axes has another dimension, on either side, and no box.
    std::string const constant = "<tableFunctionInterpolator><dependentData>" + item(item("3")) +
                                 "</dependentData></tableFunctionInterpolator>";
    EXPECT_EQ(found(tree(joined(constant, table("0 1", "0 0")))), "3 child-dimension");
    EXPECT_EQ(found(tree(joined(table("0 1", "0 0"), constant))), "3 child-dimension");
    EXPECT_EQ(found(tree(joined(constant, constant))), "");
    // A container holds one element.
    EXPECT_EQ(found(tree(left + "\n" + right)), "3 child-count");
    EXPECT_EQ(found(document("scalarFunctionContainer",
                             "<linearScalarFunction/>\n<linearScalarFunction/>")),
              "2 child-count");
    EXPECT_EQ(found(document("search",
                             "<variables><variable><name>a</name></variable></variables>"
                             "<optimizer><nelderMead/>\n<nelderMead/></optimizer>")),
              "2 child-count");
    // Empty ones, and what lint does not know.
    EXPECT_EQ(found(document("compositeFunctionContainer", "<compositeFunctionBranch/>")), "");
    EXPECT_EQ(found(document("compositeFunctionContainer", "<tableFunctionInterpolator/>")), "");
}

TEST(Lint, AllowsTheRoundingOfSteps) {
    auto const axis = [](std::string const& breakpoints, std::string const& search) {
        std::string text = table(breakpoints, breakpoints);
        text.replace(text.find("bisection"), 9, search);
        return found(document("compositeFunctionContainer", text));
    };
    EXPECT_EQ(axis("0 0.1 0.2 0.30000000000000004 0.4", "equal_spaced"), "");
    EXPECT_EQ(axis("1000 1000.1 1000.2 1000.3", "equal_spaced"), "");
    EXPECT_EQ(axis("0.4 0.3 0.2 0.1", "equal_spaced"), "");
    std::string tenths;
    for (int i = -10000; i <= 0; ++i) {
        tenths += std::to_string(0.1 * i) + ' ';
    }
    EXPECT_EQ(axis(tenths, "equal_spaced"), "");
    EXPECT_EQ(axis("0 0.1 0.2 0.3000000000001 0.4", "equal_spaced"), "1 equal-spaced");
    // The first step of these times is 7e-5 too short, 0.7 steps after 10,000.
    std::string times;
    for (int k = 0; k <= 10000; ++k) {
        times += std::to_string(1700000000 + k / 1000) + '.' +
                 std::to_string(1000 + k % 1000).substr(1) + ' ';
    }
    EXPECT_EQ(axis(times, "equal_spaced"), "1 equal-spaced");
    // Steps of 2, 4 and 4, or 2, in numbers whose last place is 2.
    EXPECT_EQ(axis("1e16 10000000000000002 10000000000000006 10000000000000010", "equal_spaced"),
              "1 equal-spaced");
    EXPECT_EQ(axis("1e16 10000000000000002 10000000000000004", "linear"), "1 linear-steps");
    EXPECT_EQ(axis("-1 0 1 2", "linear"), "");
    EXPECT_EQ(axis("2 1 0", "linear"), "");
    EXPECT_EQ(axis("0 5", "linear"), "");
    EXPECT_EQ(axis("0 1 3", "linear"), "1 linear-steps");
}

TEST(Lint, CommentsSilenceTheNextElementOnly) {
    auto const lines = [](std::string const& comment) {
        return "\n" + comment +
               "<nelderMead>\n<beta>2</beta>\n<eta>-1</eta></nelderMead>\n"
               "<hookeJeeves>\n<reductionFactor>2</reductionFactor></hookeJeeves>";
    };
    auto const list = [&](std::string const& comment) {
        return found(document("scalarMultivariableOptimizerVector", lines(comment)));
    };
    std::string const all = "3 range, 4 range, 6 range";
    EXPECT_EQ(list(""), all);
    EXPECT_EQ(list("<!-- zeibreku-lint: disable=range -->"), "6 range");
    EXPECT_EQ(list("<!--zeibreku-lint:disable=finite, range--><!-- else -->"), "6 range");
    EXPECT_EQ(list("<!-- zeibreku-lint: disable=finite -->"), all);
    EXPECT_EQ(list("<!-- disable=range -->"), all);
    EXPECT_EQ(list("<!-- zeibreku-lint: disable=rage -->"), "2 lint-comment, " + all);
    EXPECT_EQ(list("<!-- zeibreku-lint: silence -->"), "2 lint-comment, " + all);
    EXPECT_EQ(list("<!-- zeibreku-lint: disable= -->"), "2 lint-comment, " + all);
    EXPECT_EQ(list("<!-- zeibreku-lint disable=range -->"), "2 lint-comment, " + all);
    EXPECT_EQ(list("<!-- zeibreku-lint finds three -->"), all);
    EXPECT_EQ(found(document("nelderMead", "\n<!-- zeibreku-lint: disable=range -->")),
              "2 lint-comment");
    // An element inside one that is silenced, and the element after both.
    std::string const comment = "<!-- zeibreku-lint: disable=range -->";
    EXPECT_EQ(found(document("nelderMead", comment + "<beta>2</beta>\n<eta>-1</eta>")), "2 range");
    EXPECT_EQ(found(comment + document("nelderMead", comment + "<beta>2</beta>\n<eta>-1</eta>")),
              "");

    CapturedMessages const messages;
    KrLint lint;
    EXPECT_TRUE(lint.disable("range"));
    EXPECT_FALSE(lint.disable("rage"));
    EXPECT_EQ(messages.text(), "lint: expected a rule, found \"rage\"\n");
    EXPECT_EQ(found(lint, document("nelderMead", "<beta>2</beta><sigma>2</sigma>")), "");
}

TEST(Lint, ChecksCorrelations) {
    CapturedMessages const messages;
    KrXmlFactory const factory = KrSearchCreators::factory();
    // The sentences, of a text on a grid of 40 distances.
    auto const faults = [&](std::string const& text, double spacing) {
        KrLint lint;
        EXPECT_TRUE(lint.checkAsCorrelation(40, spacing));
        KrScalarFunctionContainer function;
        std::vector<KrLintFinding> findings;
        EXPECT_TRUE(lint.fromString(text, function, findings, &factory)) << messages.text();
        return findings.empty() ? "" : findings[0].text();
    };
    auto const multipoint = [](std::string const& x, std::string const& y) {
        return document("scalarFunctionContainer",
                        component("multipointScalarFunction",
                                  component("rangeValues", y) + component("domainValues", x)));
    };
    EXPECT_EQ(faults(example("05_random_field/exponential"), 3.0), "");
    EXPECT_EQ(faults(example("05_random_field/triangular"), 0.3), "");
    EXPECT_EQ(
        faults(example("05_random_field/identity"), 1.0),
        "<string>:4:3: error: scalarFunctionContainer/linearScalarFunction: the value at 0 is "
        "0: the variance is positive and finite [correlation]");
    EXPECT_NE(faults(example("02_functions/line"), 0.5).find("is 2 at the distance 0.5: "),
              std::string::npos);
    EXPECT_NE(
        faults(multipoint(item("0") + item("1") + item("INF"), item("2") + item("1") + item("0")),
               0.5)
            .find("is NaN at the distance 1.5"),
        std::string::npos);
    // A box: its matrix is that of ones up to the edge, and indefinite from there on.
    std::string const box = multipoint(item("0") + item("2") + item("2.001") + item("9"),
                                       item("1") + item("1") + item("0") + item("0"));
    EXPECT_NE(faults(box, 0.5).find("from 0 to 2.5 in steps of 0.5"), std::string::npos);
    EXPECT_EQ(faults(box, 3.0), "");
    // A smooth correlation is singular in double precision, and positive.
    std::string x;
    std::string y;
    for (int k = 0; k < 40; ++k) {
        x += item(std::to_string(k));
        std::ostringstream value;
        value.precision(17);
        value << std::exp(-0.01 * k * k);
        y += item(value.str());
    }
    EXPECT_EQ(faults(multipoint(x, y), 1.0), "");

    KrLint lint;
    EXPECT_TRUE(lint.checkAsCorrelation(2, 1.0));
    EXPECT_EQ(found(lint, document("nelderMead", "")), "1:1 correlation\n");
    // A function without a container is the root itself.
    EXPECT_EQ(found(lint, document("linearScalarFunction", "\n<startValue>0</startValue>")),
              "1:1 correlation\n");
    EXPECT_FALSE(lint.checkAsCorrelation(1, 1.0) || lint.checkAsCorrelation(2001, 1.0) ||
                 lint.checkAsCorrelation(2, 0.0) || lint.checkAsCorrelation(2, std::nan("")));
}

TEST(Lint, ReadsAndLintsInOne) {
    TemporaryFolder const folder;
    std::string const path = folder / "f.xml";
    std::ofstream(path)
        << "<nelderMead xmlns='urn:zeibreku:function#'>\n <beta>2</beta></nelderMead>";
    KrLint const lint;
    std::vector<KrLintFinding> findings;
    KrNelderMeadOptimizer optimizer;
    CapturedMessages const messages;
    EXPECT_TRUE(lint.readFile(path, optimizer, findings));
    EXPECT_EQ(optimizer.beta(), 2.0);
    ASSERT_EQ(findings.size(), 1u);
    findings[0].print();
    EXPECT_EQ(messages.text(),
              path +
                  ":2:2: error: nelderMead/beta: beta is 2: write a number with 0 < x < 1 "
                  "[range]\n");
    EXPECT_TRUE(lint.readFile(path, KrSearchCreators::factory(), findings));
    EXPECT_EQ(findings.size(), 1u);
    std::ofstream(path) << "<nelderMead";
    EXPECT_FALSE(lint.readFile(path, optimizer, findings));
    EXPECT_EQ(optimizer.beta(), 2.0);
    EXPECT_FALSE(lint.readFile(folder / "absent.xml", optimizer, findings));
    EXPECT_TRUE(findings.empty());
}

// If a creator throws, the caller's reader goes on without the observer of lint. The document is
// longer than what the parser reads at once.
TEST(Lint, LeavesNoObserverBehind) {
    KrXmlFactory factory = KrSearchCreators::factory();
    KrToken const tag("urn:mine#tree");
    factory.registerCreator(tag, []() -> KrXmlObject* { throw std::runtime_error("mine"); });
    std::istringstream stream("<tree xmlns='urn:mine#'><a/>" + std::string(500000, ' ') +
                              "<!--c--><b/></tree>");
    KrXmlReader reader(stream);
    std::vector<KrLintFinding> findings;
    EXPECT_THROW(KrLint().read(reader, factory, findings), std::runtime_error);
    reader.close(0);
    EXPECT_TRUE(reader.finish());
}

// Whatever the text, reading and linting end, and reading is as without lint.
TEST(Lint, IsHarmlessOnDamagedText) {
    std::string const text = example("04_tables/leaves") + example("09_fit/search");
    for (std::size_t k = 0; k < text.size(); k += 13) {
        for (char const c : {'<', '>', '/', '1', 'x'}) {
            std::string damaged = k % 2 == 0 ? text.substr(0, k) : text;
            damaged[k % 2 == 0 ? k / 2 : k] = c;
            found(KrLint(), damaged);
        }
    }
    std::string deep;
    for (int depth = 0; depth < 400; ++depth) {
        deep += "<compositeFunctionBranch>" + table("0 1", "0 0");
    }
    EXPECT_NE(found(KrLint(), document("compositeFunctionContainer", deep)), "");
    std::string const items = item("1") + item("2") + table("0 1", "0 0");
    EXPECT_NE(found(KrLint(), document("compositeFunctionContainer",
                                       component("compositeFunctionBranch", items))),
              "");
    // Findings are counted, not kept.
    std::string many;
    for (int k = 0; k < 3000; ++k) {
        many += "<nelderMead><beta>2</beta></nelderMead>";
    }
    std::vector<KrLintFinding> findings;
    std::istringstream stream(document("scalarMultivariableOptimizerVector", many));
    KrXmlReader reader(stream);
    EXPECT_TRUE(KrLint().read(reader, KrSearchCreators::factory(), findings));
    ASSERT_EQ(findings.size(), 1000u);
    EXPECT_NE(findings.back().sentence.find("2000 more findings"), std::string::npos);
    // A wrong index is found behind any number of good ones.
    auto const constraint = [](std::string const& index) {
        return component("linearMultivariableConstraint",
                         component("firstOrderIndices", item(index)) +
                             component("firstOrderCoefficients", item("1")));
    };
    std::string constraints;
    for (int k = 0; k < 1100; ++k) {
        constraints += constraint("0");
    }
    EXPECT_EQ(found(document("search",
                             "<variables><variable><name>a</name></variable></variables>"
                             "<optimizer><nelderMead/></optimizer>" +
                                 component("constraints", constraints + "\n" + constraint("1")))),
              "2 index-range");
}

// What an observer sees, and where.
TEST(Lint, ObserversSeeTheDocument) {
    struct : KrXmlObserver {
        void startElement(KrToken const& tag, KrU32 line, KrU32 column) override {
            seen << '<' << tag.localName() << ' ' << line << ':' << column;
        }
        void attribute(KrToken const& name, std::string_view value) override {
            seen << ' ' << name.localName() << '=' << value;
        }
        void text(std::string_view piece) override { seen << '"' << piece << '"'; }
        void endElement() override { seen << '>'; }
        void comment(std::string_view text, KrU32 line, KrU32 column) override {
            seen << '#' << text << ' ' << line << ':' << column;
        }
        std::ostringstream seen;
    } observer;
    std::istringstream stream(
        "<?xml version='1.0'?>\r\n<!--a-->\n<optimizerContainer xmlns='urn:zeibreku:function#'>"
        "\n\t<!--\xC3\xA4\n-->\xC3\xA4 <nelderMead><alpha>1<!--b-->5</alpha></nelderMead>"
        "</optimizerContainer><!--c-->");
    KrXmlReader reader(stream);
    reader.setObserver(&observer);
    CapturedMessages const messages;  // of the letter between elements
    EXPECT_FALSE(KrXml::read(reader, KrSearchCreators::factory()));
    EXPECT_EQ(messages.text().find("alpha"), std::string::npos);
    EXPECT_EQ(observer.seen.str(),
              "#a 2:1<optimizerContainer 3:1\"\n\t\xC3\xA4 \"#\xC3\xA4\n 4:2<nelderMead 5:6"
              "<alpha 5:18\"15\"#b 5:26>>>#c 5:77");
}

}  // namespace
