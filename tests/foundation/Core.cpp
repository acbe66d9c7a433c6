#include "foundation/core/KrInt2String.h"
#include "foundation/core/KrPrint.h"
#include "foundation/core/KrToken.h"
#include "tests/support/CapturedMessages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <stdexcept>

namespace {

TEST(Token, HoldsNamespaceAndLocalNameAsOneText) {
    KrToken const prefix("urn:x#");
    KrToken const alpha = prefix + "alpha";
    EXPECT_TRUE(alpha == std::string("urn:x#alpha"));
    EXPECT_TRUE(prefix == KrToken("urn:x#"));  // the prefix itself is unchanged
    EXPECT_EQ(alpha.localName(), "alpha");
    EXPECT_EQ(alpha.namespaceUri(), "urn:x#");
    EXPECT_EQ(KrToken("bare").localName(), "bare");
    EXPECT_EQ(KrToken("bare").namespaceUri(), "");
    EXPECT_LT(KrToken("a"), KrToken("b"));
    std::string const odd("a\0b", 3);
    std::ostringstream stream;
    stream << std::hex << KrToken(odd) << alpha;
    EXPECT_EQ(stream.str(), odd + "urn:x#alpha");
}

TEST(Int2String, WritesInEveryRadix) {
    EXPECT_EQ(KrINT2STRING(4294967295U, 10), "4294967295");
    EXPECT_EQ(KrINT2STRING(0, 10), "0");
    EXPECT_EQ(KrINT2STRING(255, 16), "ff");
    EXPECT_EQ(KrINT2STRING(1, 37), "");
}

template <class... Arguments>
std::string printed(char const* format, Arguments... arguments) {
    CapturedMessages const captured;
    Kr::Print::instance().write(Kr::PrintType::Error, format, arguments...);
    return captured.text();
}

TEST(Print, ConvertsEachArgumentWhateverItsType) {
    EXPECT_EQ(printed("%s at %d of %u, %5.2f%%|%-4d|%04x\n", "here", -3, 7U, 2.5, 9, 255),
              "here at -3 of 7,  2.50%|9   |00ff\n");
    // A conversion of another type prints a number. One without an argument prints nothing.
    EXPECT_EQ(printed("centre (%d)", 1.5), "centre (1)");
    EXPECT_EQ(printed("%d %d", std::nan(""), 1e300), "0 9223372036854775807");
    EXPECT_EQ(printed("%u|%x|%lu|%g|%s|%d", -1, -1.0F, -1L, 3U, 0.25, "text"),
              "4294967295|ffffffff|18446744073709551615|3|0.25|0");
    EXPECT_EQ(printed("%d and %d.", 1), "1 and .");
    EXPECT_EQ(printed("%*d|%.*f|%Lf|%lu|%", 4, 7, -3, 1.5, 2.25L, 5UL),
              "   7|1.500000|2.250000|5|");
    EXPECT_EQ(printed("%s", static_cast<char const*>(nullptr)), "(null)");
}

TEST(Print, StreamBecomesOneMessageWhenFlushedOrFollowed) {
    CapturedMessages captured;
    Kr::Print::ostream(Kr::PrintType::Error, "f()") << std::hex << 255 << " bad\n" << std::flush;
    Kr::Print::ostream(Kr::PrintType::Warning, "g()") << 255;  // no formatting is left over
    ASSERT_EQ(captured.messages.size(), 1U);
    Kr::Print::instance().write(Kr::PrintType::Mismatch, "next");
    Kr::Print::ostream(Kr::PrintType::Error, "h()") << "one";
    Kr::Print::ostream(Kr::PrintType::Error, "i()") << "two" << std::flush << std::flush;
    std::string seen;
    for (Kr::Message const& message : captured.messages) {
        seen +=
            std::to_string(static_cast<int>(message.type)) + message.context + message.text + ';';
    }
    EXPECT_EQ(seen, "4f()ff bad\n;3g()255;5next;4h()one;4i()two;");
}

TEST(Print, SinkMayPrintReplaceItselfAndThrow) {
    Kr::Print& print = Kr::Print::instance();
    CapturedMessages captured;
    Kr::Print::Sink const collecting = print.setSink([&](Kr::Message const& message) {
        print.setSink([](Kr::Message const&) { throw std::runtime_error("sink"); });
        captured.messages.push_back(message);
    });
    print.write(Kr::PrintType::Error, "first");
    EXPECT_THROW(print.write(Kr::PrintType::Error, "second"), std::runtime_error);
    EXPECT_THROW(Kr::Print::ostream(Kr::PrintType::Error, "f()") << "third" << std::flush,
                 std::runtime_error);
    print.setSink(collecting);
    Kr::Print::ostream(Kr::PrintType::Error, "f()") << "fourth" << std::flush;
    EXPECT_EQ(captured.text(), "firstfourth");
}

TEST(Print, TheDefaultSinkEndsEachLine) {
    testing::internal::CaptureStderr();
    for (char const* const text : {"one", "two\n", "three\n\tmore"}) {
        Kr::Print::instance().write(Kr::PrintType::Warning, text);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "one\ntwo\nthree\n\tmore\n");
}

}  // namespace
