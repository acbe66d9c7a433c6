// The figures of a report's page are those that the search itself reports, and the page is
// well-formed XML, whatever the record holds.

#include "program/ReportPage.h"

#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlText.h"
#include "function/multivariable/KrCallableFunction.h"
#include "program/Chart.h"
#include "tests/search/SearchTexts.h"
#include "tests/support/CapturedMessages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <sstream>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

std::string text(double value) {
    KrXmlTextRoom room;
    return std::string(KrXmlText<double>::format(value, room));
}

std::string pageOf(KrEvaluationRecord const& record) {
    std::ostringstream out;
    writeReportPage(out, record);
    return out.str();
}

// The text of the element with this id.
std::string figure(std::string const& page, std::string const& id) {
    std::size_t const at = page.find("id=\"" + id + '"');
    std::size_t const begin = page.find('>', at) + 1;
    return at == std::string::npos ? "no such element"
                                   : page.substr(begin, page.find('<', begin) - begin);
}

// The reader refuses a document type.
void expectWellFormed(std::string const& page) {
    std::string const doctype = "<!DOCTYPE html>\n";
    ASSERT_TRUE(page.starts_with(doctype));
    std::istringstream in(page.substr(doctype.size()));
    KrXmlReader reader(in, "page");
    EXPECT_TRUE(reader.finish());
}

void expectFigures(KrSearchReport const& report, KrEvaluationRecord const& record) {
    std::string const page = pageOf(record);
    expectWellFormed(page);
    KrRealVector const best = values(report.bestPoint());
    EXPECT_EQ(figure(page, "best-value"), best.empty() ? "none" : text(report.bestValue()));
    for (std::size_t i = 0; i < best.size(); ++i) {
        EXPECT_EQ(figure(page, "best-" + std::to_string(i)), text(best[i]));
    }
    EXPECT_EQ(figure(page, "evaluations"), std::to_string(report.evaluations()));
    EXPECT_EQ(figure(page, "failures"), std::to_string(report.failures()));
    EXPECT_EQ(figure(page, "made"), std::to_string(record.entries().size()));
    EXPECT_EQ(figure(page, "runs"), std::to_string(record.runs().size()));
}

// Runs until the end, the function throwing at some of its calls as a kill would.
template <class Formula>
KrSearchReport runResumed(KrSearch const& search, KrEvaluationRecord& record, Formula formula) {
    KrSearchReport report;
    for (int calls : {3, 10, 0, 1000000}) {
        KrCallableFunction const f(search.variables().size(), [&](KrRealVector const& x) {
            if (calls-- == 0) {
                throw std::runtime_error("killed");
            }
            return formula(x);
        });
        try {
            report = search.run(f, {.record = &record});
        } catch (std::runtime_error const&) {
        }
    }
    return report;
}

double bowl(KrRealVector const& x) { return x[0] * x[0] + (x[1] - 1.0) * (x[1] - 1.0); }

TEST(ReportPage, HasTheFiguresOfTheSearch) {
    KrMultivariableConstraintVector constraints;  // x0 >= 1.5, where the bowl's minimum is not
    ASSERT_TRUE(KrXml::fromString(
        document("multivariableConstraintVector",
                 component("linearMultivariableConstraint",
                           component("offset", "1.5") +
                               component("firstOrderIndices", component("item", "0")) +
                               component("firstOrderCoefficients", component("item", "-1")))),
        constraints));
    for (std::string const& optimizer : everyOptimizer(60)) {
        for (bool const maximise : {false, true}) {
            KrSearch search = searchOf(optimizer, {3.0, -1.0});
            search.setMaximise(maximise);
            search.setConstraints(constraints);
            KrEvaluationRecord record;
            expectFigures(runResumed(search, record,
                                     [&](KrRealVector const& x) {
                                         if (x[1] > 1.2) {
                                             throw KrEvaluationFailure("exit status 1");
                                         }
                                         return maximise ? 1.0 - bowl(x) : bowl(x);
                                     }),
                          record);
        }
    }
}

TEST(ReportPage, StandsWhateverTheValuesAre) {
    KrSearch search = searchOf(everyOptimizer(30)[0], {3.0, -1.0});
    std::string const hostile = "\"<b>&amp; ]]>\x01\xff\r\n" + std::string(5000, '\'');
    for (double const bad : {infinity, -infinity, std::nan(""), 1e308, -1e308, 5e-324, 0.0}) {
        for (int const every : {1, 2, 7}) {
            int calls = 0;
            KrCallableFunction const f(2, [&](KrRealVector const& x) {
                if (++calls % 5 == 0) {
                    throw KrEvaluationFailure(hostile);
                }
                return calls % every == 0 ? bad : bowl(x);
            });
            CapturedMessages const captured;
            KrEvaluationRecord record;
            expectFigures(search.run(f, {.record = &record}), record);
        }
    }
    KrEvaluationRecord empty;
    KrCallableFunction const none(
        2, [](KrRealVector const&) -> double { throw std::runtime_error("killed"); });
    EXPECT_THROW(search.run(none, {.record = &empty}), std::runtime_error);
    expectFigures(KrSearchReport(), empty);
}

TEST(ReportPage, ListsTheTenBestPointsInOrder) {
    KrSearch const search = searchOf(everyOptimizer(60)[5], {3.0, -1.0});
    KrEvaluationRecord record;
    runResumed(search, record, bowl);
    ASSERT_GT(record.asked().size(), record.entries().size());  // a repeated point is listed once
    std::vector<std::pair<double, KrRealVector>> all;
    for (auto const& [ticket, entry] : record.entries()) {
        all.emplace_back(entry.value, entry.point);
    }
    std::ranges::stable_sort(all, {}, [](auto const& each) { return each.first; });
    std::string const page = pageOf(record);
    std::size_t at = page.find("id=\"top\"");
    for (std::size_t i = 0; i < 10; ++i) {
        auto const& [value, point] = all[i];
        std::string const cells = "<td>" + text(value) + "</td><td>" + text(point[0]) +
                                  "</td><td>" + text(point[1]) + "</td></tr>";
        at = page.find(cells, at);
        ASSERT_NE(at, std::string::npos) << cells;
    }
    EXPECT_EQ(page.find("<tr>", at), page.find("<tr>", page.find("</table>", at)));
}

// A page does not grow with the record once its pictures' columns are full.
TEST(ReportPage, AnyNumberOfEvaluationsFits) {
    KrSearch search = searchOf(
        component("sequenceOptimizer", component("numberPasses", "1000000") +
                                           component("optimizerSequence", everyOptimizer(60)[2])),
        {3.0, -1.0});
    search.setRemember(false);
    std::array<std::size_t, 2> sizes{};
    for (KrU32 const i : {0U, 1U}) {
        search.setMaxEvaluations(i == 0 ? 5000 : 50000);
        std::uint32_t noise = 1;
        KrCallableFunction const f(2, [&](KrRealVector const& x) {
            noise = noise * 1664525U + 1013904223U;
            return bowl(x) + noise / 4e9;
        });
        KrEvaluationRecord record;
        expectFigures(search.run(f, {.record = &record}), record);
        sizes[i] = pageOf(record).size();
    }
    EXPECT_LT(sizes[1], sizes[0] * 3 / 2);
}

std::string ticks(double low, double high, ChartAxis::Scale scale = ChartAxis::Scale::Linear) {
    std::string all;
    for (ChartAxis::Tick const& tick : ChartAxis(low, high, 0.0, 100.0, scale).ticks(5)) {
        EXPECT_TRUE(tick.at >= 0.0 && tick.at <= 100.0) << tick.text;
        all += tick.text + ' ';
    }
    return all;
}

TEST(ReportPage, AxesHaveRoundNumbers) {
    EXPECT_EQ(ticks(0.0, 1000.0), "0 200 400 600 800 1000 ");
    EXPECT_EQ(ticks(-0.3, 0.29), "−0.2 0 0.2 ");
    EXPECT_EQ(ticks(3e8, 3.000005e8),
              "3.000000e8 3.000001e8 3.000002e8 3.000003e8 3.000004e8 "
              "3.000005e8 ");
    EXPECT_EQ(ticks(2e-9, 3.0, ChartAxis::Scale::Logarithmic), "1e−8 1e−6 1e−4 0.01 1 ");
    double const largest = std::numeric_limits<double>::max();
    EXPECT_EQ(ticks(-largest, largest), "−1e308 0 1e308 ");
    for (double const value : {0.0, 5e-324, largest, -largest, 7.0}) {
        EXPECT_NEAR(ChartAxis(value, value, 0.0, 100.0).at(value), 50.0, 50.0) << value;
    }
}

TEST(ReportPage, AColumnOfAPictureSpansItsPoints) {
    ChartAxis const x(0.0, 700.0, 10.0, 13.0);
    ChartAxis const y(0.0, 6.0, 100.0, 40.0);
    ChartColumns columns(x, y);
    for (int i = 0; i < 650; ++i) {
        columns.add(i, (3 * i) % 7);
    }
    EXPECT_FALSE(columns.add(650.0, 6.5));
    EXPECT_EQ(columns.dots(), "M10 40V100M11 40V100M12 40V100");
    EXPECT_EQ(columns.steps(), "M10 40V40V100V40H11V40V100V50H12V40V100V90H13");
}

}  // namespace
