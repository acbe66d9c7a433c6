// Rows of CSV files, and tables made of them.

#include "function/tools/KrCsvReader.h"
#include "function/tools/KrTableImport.h"
#include "support/Pieces.h"
#include "tests/support/Bits.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>

namespace {

using Enums = KrVectorSearchEnums;

// The rows as "LINE[field|field]".
std::string rowsOf(std::string const& text, std::size_t piece, bool hasDecimalComma = false) {
    Pieces pieces(text, piece);
    std::istream stream(&pieces);
    KrCsvReader reader(stream, "f");
    reader.setDecimalComma(hasDecimalComma);
    std::string rows;
    while (reader.nextRow()) {
        rows += std::to_string(reader.line()) + '[';
        for (std::size_t i = 0; i < reader.size(); ++i) {
            rows += (i == 0 ? "" : "|") + std::string(reader.field(i));
        }
        rows += ']';
    }
    return rows;
}

TEST(CsvReader, SplitsRowsAsSpreadsheetsWriteThem) {
    struct Case {
        std::string text, rows;
    };
    std::string const nul(1, '\0');
    for (auto const& [text, rows] : std::vector<Case>{
             {"", ""},
             {"\n\r\n \n", ""},
             {"a,b\n1,2", "1[a|b]2[1|2]"},
             {"a,b\r\n1,2\r\n\r\n", "1[a|b]2[1|2]"},
             {"\r\n\r\n\na,b\r\n1,2\r\n", "4[a|b]5[1|2]"},
             {"\r\n\n\r\nsep=;\r\na,b;c\r\n", "5[a,b|c]"},
             {"a,b\r1,2\r\r3,4\r", "1[a|b]2[1|2]4[3|4]"},
             {"\xEF\xBB\xBF\n\na;b,c\n1;2\n", "3[a|b,c]4[1|2]"},
             {"\xEF\xBB\xBF", ""},
             {"a,b;c\td\n", "1[a,b;c|d]"},
             {"\"a;b\",c\n", "1[a;b|c]"},
             {"5\" pipe;a,b\n1;2\n", "1[5\" pipe|a,b]2[1|2]"},
             {"sep=,\na;b,c\n", "2[a;b|c]"},
             {"\"SEP=;\"\r\na,b;c\r\n", "2[a,b|c]"},
             {"sep=\t\na,b\tc", "2[a,b|c]"},
             {"separate\n1\n", "1[separate]2[1]"},
             {" a b , c \n\"say \"\"x\"\"\" ,\"\"\n", "1[a b|c]2[say \"x\"]"},
             {"a\n\"1\n2\r\n3\r4\",5\n6\n", "1[a]2[1\n2\r\n3\r4|5]6[6]"},
             {"a,,b,,\n,,\n,1\n", "1[a||b]3[|1]"},
             {"a\t\tb\n\t1\n\"x\"\t\"y\"\t\n", "1[a||b]2[|1]3[x|y]"},
             {"a" + nul + "\xFF,b\n", "1[a" + nul + "\xFF|b]"},
         }) {
        for (std::size_t const piece : {1, 2, 3, 5, 1000}) {
            CapturedMessages const captured;
            EXPECT_EQ(rowsOf(text, piece), rows) << text;
            EXPECT_EQ(captured.text(), "");
        }
    }
    EXPECT_EQ(rowsOf("x,y\n1,2\n", 9, true), "1[x|y]2[1|2]");
    EXPECT_EQ(rowsOf("1,5\n2,5\n", 9, true), "1[1,5]2[2,5]");
    EXPECT_EQ(rowsOf("1,5;2,5\n", 9, true), "1[1,5|2,5]");
}

TEST(CsvReader, RowsCrossTheBuffer) {
    std::string const wide(3000, 'w');
    std::string text;
    std::string rows;
    for (int i = 1; i <= 200; ++i) {
        text += wide + ",\"" + wide + "\"\"\",z\n";
        rows += std::to_string(i) + '[' + wide + '|' + wide + "\"|z]";
    }
    for (std::size_t const piece : {std::size_t{1000}, std::size_t{4095}, text.size()}) {
        EXPECT_TRUE(rowsOf(text, piece) == rows) << piece;
    }
}

TEST(CsvReader, ReadsNumbersOfAnyProgram) {
    double const inf = std::numeric_limits<double>::infinity();
    struct Case {
        bool isComma;
        char const* text;
        double value;  // 77 if it is refused
    };
    std::istringstream stream;
    KrCsvReader reader(stream);
    for (auto const& [isComma, text, value] : std::initializer_list<Case>{
             {false, "1.5", 1.5},       {false, " -2.5E-3 ", -0.0025},
             {false, "+4", 4.0},        {false, "1,5", 77.0},
             {false, "inf", inf},       {false, "-Infinity", -inf},
             {false, "+INF", inf},      {false, "", 77.0},
             {false, "1e999", 77.0},    {false, "#N/A", 77.0},
             {false, "1 2", 77.0},      {false, "0x10", 77.0},
             {true, "1,5", 1.5},        {true, "-2,5e3", -2500.0},
             {true, "4", 4.0},          {true, "1.5", 77.0},
             {true, "1.234,5", 77.0},   {true, "1,2,3", 77.0},
             {false, "infinite", 77.0}, {false, "-", 77.0},
             {false, "+-1", 77.0},
         }) {
        reader.setDecimalComma(isComma);
        double found = 77.0;
        EXPECT_EQ(reader.parse(text, found), value != 77.0) << text;
        EXPECT_EQ(bits(found), bits(value)) << text;
    }
    for (char const* const text : {"nan", "NaN", "-nan", "NAN"}) {
        double found = 0.0;
        EXPECT_TRUE(reader.parse(text, found) && std::isnan(found)) << text;
    }
}

// Reads all numbers, and returns the header, the units and the sum.
std::string summary(std::string const& text) {
    std::istringstream stream(text);
    KrCsvReader reader(stream, "f");
    double sum = 0.0;
    KrRealVector row;
    for (bool more = reader.readHeader(); more && reader.nextNumbers(row);) {
        for (double const number : row) {
            sum += number;
        }
    }
    std::string all = std::to_string(reader.columns()) + ':';
    for (auto const* const texts : {&reader.names(), &reader.units()}) {
        for (std::string const& item : *texts) {
            all += item + ',';
        }
        all += ':';
    }
    return all + std::to_string(static_cast<int>(sum));
}

TEST(CsvReader, TellsHeaderUnitsAndNumbersApart) {
    struct Case {
        std::string text, summary, message;
    };
    for (auto const& [text, expected, message] : std::vector<Case>{
             {"", "0:::0", ""},
             {"a,b\n", "2:a,b,::0", ""},
             {"a,b\n1,2\n", "2:a,b,::3", ""},
             {"1,2\n3,4\n", "2:::10", ""},
             {"a,b,\n1/deg,[m/s],\n1,2,\n", "2:a,b,:1/deg,[m/s],:3", ""},
             {"a,b\n-\n1,2\n", "2:a,b,:-,:3", ""},
             {"a,b\ndeg,1\n1,2\n", "2:a,b,::0",
              "f:2: expected units without a number, or a row of numbers, found \"deg\" in column "
              "\"a\"\n"},
             {"a,0.3\n1,2\n", "2:::0",
              "f:1: expected a header without a number, or a row of numbers, found \"a\" in column "
              "1\n"},
             {"a #,E1\n10^3 N,1 / m\n1,2\n", "2:a #,E1,:10^3 N,1 / m,:3", ""},
             {"a\n1/2/2024\n", "1:a,::0",
              "f:2: expected a number in column \"a\", found \"1/2/2024\"\n"},
             {"a,b\nNULL,m\n1,2\n", "2:a,b,::0",
              "f:2: expected units without a number, or a row of numbers, found \"m\" in column "
              "\"b\"\n"},
             {"a;b\n0,5;1,5\n1;2\n", "2:a,b,::3",
              "f:2: expected a number with a decimal point in column \"a\", found \"0,5\"; commas "
              "are decimal only on request (--decimal ,)\n"},
             {"a,b\n1,2\n3\n4,5,6\n7,8\n", "2:a,b,::18",
              "f:3: expected 2 fields, found 1\nf:4: expected 2 fields, found 3\n"},
             {"a\n1\n1e999\n\"x\ny\"\n2\n", "1:a,::3",
              "f:3: expected a number in the range of double in column \"a\", found \"1e999\"\n"
              "f:4: expected a number in column \"a\", found \"x\\ny\"\n"},
             {"a\n1\n\"2\n3\n", "1:a,::1",
              "f:3: expected a closing quote, found the end of the file\n"},
             {"a,b\n\"1\" 2,3\n4,5", "2:a,b,::0",
              "f:2: expected a separator behind the closing quote, found \"2\"\n"},
             {"sep=|\n1|2\n", "0:::0",
              "f:1: expected the separator , or ; or a tab, found \"|\"\n"},
             {"\xFF\xFE"
              "a",
              "0:::0", "f:1: expected a text in UTF-8, found one in UTF-16\n"},
             {"a\n\"" + std::string(2'000'000, '1'), "1:a,::0",
              "f:2: expected a row of at most 1 MB, found a longer one; is a quote not closed?\n"},
         }) {
        CapturedMessages const captured;
        EXPECT_EQ(summary(text), expected) << text.substr(0, 99);
        EXPECT_EQ(captured.text(), message);
    }
    // Data that is no number is neither a header nor units.
    for (std::string const text :
         {"#DIV/0!", "#N/A", "#NAME?", "####", "NA", "n/a", "null",
          "\xE2\x88\x92"
          "1",
          "1'000", "0x10", "1.5D+00", "-1.5 deg", "00:00:01", "- 5", "<.5", "1/2"}) {
        for (std::string const header : {"", "a\n", "a\nm\n"}) {
            CapturedMessages const captured;
            summary(header + text + "\n1\n");
            ASSERT_EQ(captured.messages.size(), 1U) << header << text;
            EXPECT_NE(captured.text().find(": expected a number in column "), std::string::npos);
        }
    }
    std::string many = "a\n";
    for (int i = 0; i < 500; ++i) {
        many += "1\nx\n";
    }
    CapturedMessages const captured;
    EXPECT_EQ(summary(many), "1:a,::101");
    ASSERT_EQ(captured.messages.size(), 101U);
    EXPECT_EQ(captured.messages.back().text, "f:203: further faults are not shown\n");
}

// What the reader had read of a stream whenever it asked for more.
TEST(CsvReader, AsksForMoreBeforeItWaits) {
    Pieces pieces("1\n2\n3\n", 2);
    std::istream stream(&pieces);
    KrCsvReader reader(stream);
    std::string read;
    reader.setBeforeRead([&] { read += '?'; });
    while (reader.nextRow()) {
        read += reader.field(0);
    }
    EXPECT_EQ(read, "?1?2?3?");

    // A refusal ends reading: the rows behind it are not awaited.
    Pieces rows("1\nx\n3\n", 2);
    std::istream faulty(&rows);
    KrCsvReader ending(faulty);
    int waits = 0;
    ending.setBeforeRead([&] { ++waits; });
    ending.setEndsAtRefusal(true);
    CapturedMessages const captured;
    KrRealVector numbers;
    ASSERT_TRUE(ending.readHeader() && ending.nextNumbers(numbers));
    EXPECT_FALSE(ending.nextNumbers(numbers));
    EXPECT_EQ(waits, 2);
    EXPECT_EQ(captured.messages.size(), 1U);
}

TEST(TableImport, EqualsATableFilledByHand) {
    std::mt19937 random(7);
    auto const uniform = [&] { return std::uniform_real_distribution<>(-10.0, 10.0)(random); };
    for (KrU32 axes = 1; axes <= 5; ++axes) {
        KrTableImport import(axes);
        KrTableFunctionInterpolator expected;
        std::vector<KrRealVector> breakpoints;
        std::size_t points = 1;
        for (KrU32 d = 0; d < axes; ++d) {
            KrRealVector all(1 + random() % 4);
            std::generate(all.begin(), all.end(), uniform);
            std::sort(all.begin(), all.end());
            import.axes()[d] = {d % 2 ? Enums::LINEAR : Enums::BISECTION,
                                d % 3 ? Enums::LIMIT : Enums::EXTRAPOLATE,
                                d % 3 == 1 ? Enums::EXTRAPOLATE : Enums::LIMIT};
            KrTableFunctionVectorSearch search;
            search.independentVector(all);
            search.searchOption(import.axes()[d].searchOption);
            search.lowerBoundaryOption(import.axes()[d].lowerBoundaryOption);
            search.upperBoundaryOption(import.axes()[d].upperBoundaryOption);
            expected.independentDataPushBack(search);
            breakpoints.push_back(all);
            points *= all.size();
        }
        std::vector<KrRealVector> tables(2, KrRealVector(points));
        std::vector<std::string> rows;
        for (std::size_t place = 0; place < points; ++place) {
            std::ostringstream row;
            row.precision(17);
            std::size_t rest = place;
            for (KrRealVector const& all : breakpoints) {
                row << all[rest % all.size()] << '\t';
                rest /= all.size();
            }
            for (KrRealVector& table : tables) {
                row << (table[place] = uniform()) << '\t';
            }
            rows.push_back(row.str() + "\r\n");
        }
        std::shuffle(rows.begin(), rows.end(), random);
        std::string text;
        for (std::string const& row : rows) {
            text += row;
        }
        for (KrRealVector const& table : tables) {
            expected.dependentDataPushBack(table);
        }
        expected.init();
        KrTableFunctionInterpolator table;
        std::istringstream stream(text);
        ASSERT_TRUE(import.read(stream, "f", table)) << text;
        EXPECT_TRUE(table == expected) << text;
    }
}

TEST(TableImport, NamesItsColumns) {
    TemporaryFolder const folder;
    std::ofstream(folder / "t.csv") << "x;\"y\";z\nm;-\n-0;1,5;2\n0,25;1,5;3\n";
    KrTableImport import(2);
    import.setDecimalComma(true);
    import.axes()[0].searchOption = Enums::EQUAL_SPACED;
    KrTableFunctionInterpolator table;
    ASSERT_TRUE(import.read(folder / "t.csv", table));
    EXPECT_EQ(import.names(), (std::vector<std::string>{"x", "y", "z"}));
    EXPECT_EQ(import.units(), (std::vector<std::string>{"m", "-"}));
    KrBoolean ok = false;
    EXPECT_EQ(table.evaluate({0.125, 9.0}, ok), KrRealVector{2.5});
    KrRealVector const x(table.independentData()[0].independentVector().begin(),
                         table.independentData()[0].independentVector().end());
    EXPECT_FALSE(std::signbit(x[0]));

    KrTableFunctionInterpolator const before(table);
    CapturedMessages const captured;
    EXPECT_FALSE(import.read(folder / "absent.csv", table));
    EXPECT_FALSE(import.read(folder.path.string(), table));
    EXPECT_EQ(captured.text(), folder / "absent.csv: cannot be read: No such file or directory\n" +
                                   folder.path.string() + ":1: cannot be read: Is a directory\n");
    EXPECT_TRUE(table == before);
}

TEST(TableImport, RefusesARowThatIsNotOfTheGrid) {
    struct Case {
        KrU32 axes;
        std::string text, messages;
    };
    std::string const grid = "x,y,z\n0,0,1\n";
    std::string sparse = "x,y,z,u,v\n";  // a grid of 70,000^4 points
    for (int i = 0; i < 70'000; ++i) {
        std::string const number = std::to_string(i) + ',';
        sparse += number + number + number + number + "1\n";
    }
    for (auto const& [axes, text, messages] : std::vector<Case>{
             {1, "", "f:1: expected a row of numbers, found the end of the file\n"},
             {1, "x,y\nm,m\n", "f:3: expected a row of numbers, found the end of the file\n"},
             {1, "x\n1\n",
              "f:1: expected a value column behind 1 coordinate column, found 1 column separated "
              "by "
              "commas\n"},
             {2, "\nMy wing\nx,y,z\n1,2,3\n",
              "f:2: expected a value column behind 2 coordinate columns, found 1 column separated "
              "by commas; line 4 has 3\n"},
             {0, "1,2\n", "f:1: expected 1 to 64 axes, found 0\n"},
             {65, "1,2\n", "f:1: expected 1 to 64 axes, found 65\n"},
             {2, grid + "nan,1,1\n1,inf,1\n1,1,-nan\n",
              "f:3: expected a finite number in column \"x\", found \"nan\"\n"
              "f:4: expected a finite number in column \"y\", found \"inf\"\n"
              "f:5: expected a finite number in column \"z\", found \"-nan\"\n"},
             {2, grid + "1,1,4\n\n0,1,3\n",
              "f:2: expected a row with column \"x\" = 1, column \"y\" = 0 after this one, found "
              "none\nf:5: expected a row for each point of a grid of 2 x 2, found 3 rows\n"},
             {2, "x,y,z\n1,0,1\n0,1,1\n1,1,1\n",
              "f:2: expected a row with column \"x\" = 0, column \"y\" = 0 before this one, found "
              "none\nf:4: expected a row for each point of a grid of 2 x 2, found 3 rows\n"},
             {2, "0,0,1\n1,0,1\n0,1,1\n",
              "f:3: expected a row with column 1 = 1, column 2 = 1 after this one, found "
              "none\nf:3: expected a row for each point of a grid of 2 x 2, found 3 rows\n"},
             {2, grid + "1,0,1\n0,1,3\n1,1,4\n1,0,2\n-0,0,7\n",
              "f:7: expected another grid point in each row, found that of line 2\n"
              "f:6: expected another grid point in each row, found that of line 3\n"},
             {1, "x,y\n0.3,0\n1,1\n0.30000000000000004,1\n",
              "f:4: expected 0.3 in column \"x\" as in line 2, found 0.30000000000000004, which "
              "differs by rounding; round both\n"},
             {1, "x,y\n-0.1,1\n0,1\n2.8e-17,2\n0.1,3\n",
              "f:4: expected 0 in column \"x\" as in line 3, found 2.8e-17, which differs by "
              "rounding; round both\n"},
             {2, "x,y,z\n0,0,1\n1,0,1\n2e-14,1,2\n1,1,2\n0,2,1\n1,2,3\n",
              "f:4: expected 0 in column \"x\" as in line 2, found 2e-14, which differs by little; "
              "round both if they are one\n"},
             {4, sparse,
              "f:70001: expected a row for each point of a grid of 70000 x 70000 x 70000 x 70000, "
              "found 70000 rows\n"},
         }) {
        KrTableFunctionInterpolator table;
        CapturedMessages const captured;
        std::istringstream stream(text);
        EXPECT_FALSE(KrTableImport(axes).read(stream, "f", table));
        EXPECT_EQ(captured.text(), messages);
        EXPECT_TRUE(table == KrTableFunctionInterpolator());
    }
}

TEST(TableImport, NamesTenMissingRows) {
    CapturedMessages const captured;
    KrTableFunctionInterpolator table;
    std::istringstream stream("x,y,z\n0,0,1\n1,1,1\n2,2,1\n3,3,1\n");
    EXPECT_FALSE(KrTableImport(2).read(stream, "f", table));
    EXPECT_EQ(captured.messages.size(), 11U);
}

TEST(TableImport, ChecksEqualSteps) {
    struct Case {
        std::string text, message;
    };
    std::string tenths = "x,y\n";
    for (int i = 0; i <= 1000; ++i) {
        tenths += '-' + std::to_string(i / 10) + '.' + std::to_string(i % 10) + ",1\n";
    }
    // The first of these steps is rounded by 7e-5 of itself.
    std::string milliseconds = "x,y\n";
    for (int i = 0; i <= 20; ++i) {
        milliseconds += "1700000000.0" + std::to_string(i + 10) + ",1\n";
    }
    for (auto const& [text, message] : std::vector<Case>{
             {tenths, ""},
             {"x,y\n0,0\n1e-16,0\n2e-16,0\n", ""},
             {"x,y\n0,0\n1e-17,0\n1e-12,0\n1e-11,0\n1,0\n",
              "f:3: expected steps of 9e-12 in column \"x\" for an equal_spaced search, found "
              "1e-17 "
              "after 0; correct it, or choose bisection\n"},
             {milliseconds,
              "f:17: expected 15 times the first step, 0.0009999275207519531, above 1700000000.01 "
              "in column \"x\" for an equal_spaced search, found 1700000000.025; choose "
              "bisection\n"},
             {"x,y\n1000.1,0\n1000.2,0\n1000.3,0\n", ""},
             {"x,y\n3,0\n", ""},
             {"x,y\n4,0\n1,0\n2.5,0\n5.5,0\n0,0\n",
              "f:3: expected steps of 1.5 in column \"x\" for an equal_spaced search, found 1 "
              "after "
              "0; correct it, or choose bisection\n"},
             {"x,y\n0,0\n1,0\n2.000000000000004,0\n",
              "f:3: expected steps of 1.000000000000004 in column \"x\" for an equal_spaced "
              "search, found 1 after 0; correct it, or choose bisection\n"},
             {"-1.7e308,0\n1.7e308,0\n",
              "f:2: expected steps of INF in column 1 for an equal_spaced search, found 1.7e+308 "
              "after -1.7e+308; correct it, or choose bisection\n"},
         }) {
        KrTableImport import(1);
        import.axes()[0].searchOption = Enums::EQUAL_SPACED;
        KrTableFunctionInterpolator table;
        CapturedMessages const captured;
        std::istringstream stream(text);
        EXPECT_EQ(import.read(stream, "f", table), message.empty());
        EXPECT_EQ(captured.text(), message);
    }
}

}  // namespace
