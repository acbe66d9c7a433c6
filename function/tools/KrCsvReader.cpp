#include "function/tools/KrCsvReader.h"

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <istream>
#include <limits>
#include <system_error>

KR_SOURCE_VERSION;

namespace {

constexpr std::size_t chunk = 65536;
// A quote that is not closed takes no more memory than this.
constexpr std::size_t longestRow = 1 << 20;
constexpr std::size_t mostRefusals = 100;

bool isLineEnd(char c) { return c == '\n' || c == '\r'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool equalsInLowerCase(std::string_view text, std::string_view lower) {
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), [](char a, char b) {
        return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
    });
}

// The spellings of numpy, R, C and spreadsheets for numbers that are not finite.
bool parseSpecial(std::string_view text, double& value) {
    bool const isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    double special = std::numeric_limits<double>::quiet_NaN();
    if (equalsInLowerCase(text, "inf") || equalsInLowerCase(text, "infinity")) {
        special = std::numeric_limits<double>::infinity();
    } else if (!equalsInLowerCase(text, "nan")) {
        return false;
    }
    value = isNegative ? -special : special;
    return true;
}

std::string withPoint(std::string_view text) {
    std::string number(text);
    std::replace(number.begin(), number.end(), ',', '.');
    return number;
}

bool isFinite(std::string_view text) {
    double value = 0.0;
    return KrXmlText<double>::parse(text, value) == KrXmlParse::Good;
}

// What programs write for a missing number or a fault. A unit "-" or "nA" is none of them.
bool isMissing(std::string_view text) {
    // #N/A, #NV, #DIV/0!, #NAME?, and a spreadsheet's column that is too narrow.
    bool const isFault = text.starts_with("##") || text.starts_with("#N/") || text == "#NV" ||
                         (text.starts_with('#') && (text.ends_with('!') || text.ends_with('?')));
    return isFault || text == "NA" || text == "<NA>" || equalsInLowerCase(text, "n/a") ||
           equalsInLowerCase(text, "null");
}

// Whether a text is meant as a number, well formed or not: neither a name nor a unit such as
// "1/deg", "10^3 N" or "%".
bool looksLikeNumber(std::string_view text) {
    constexpr std::string_view minus = "\xE2\x88\x92";  // the typographic one
    std::string_view rest = text.substr(text.starts_with(minus) ? minus.size() : 0);
    rest.remove_prefix(std::min(rest.find_first_not_of("+-.,<>=~$' "), rest.size()));
    if (rest.empty() || !isDigit(rest[0])) {
        return isMissing(text);
    }
    rest.remove_prefix(std::min(rest.find_first_not_of("0123456789 "), rest.size()));
    bool const isReciprocal = rest.size() > 1 && rest[0] == '/' && !isDigit(rest[1]);
    return !isReciprocal && !rest.starts_with('^');
}

// Tells which characters of a line are in quotes while the separator is not known.
class Quotes {
public:
    /// Whether `c`, the next character, is in quotes or opens or closes them.
    bool contain(char c) {
        bool const opens =
            last_ == '"' || last_ == ',' || last_ == ';' || last_ == '\t' || last_ == ' ';
        bool const was = isOpen_;
        isOpen_ = c == '"' ? !isOpen_ && opens : isOpen_;
        last_ = c;
        return was || isOpen_;
    }

private:
    bool isOpen_ = false;
    char last_ = ',';  // a line begins as a field does
};

}  // namespace

KrCsvReader::KrCsvReader(std::istream& stream, std::string const& fileName)
    : stream_(stream), fileName_(fileName) {}

KrBoolean KrCsvReader::refuse(std::string const& expected, std::string const& found) {
    return refuse(rowLine_, expected, found);
}

KrBoolean KrCsvReader::refuse(std::size_t line, std::string const& expected,
                              std::string const& found) {
    if (++errorCount_ <= mostRefusals) {
        Kr::Print::instance().write(Kr::PrintType::Error, "%s:%s: expected %s, found %s\n",
                                    fileName_, std::to_string(line), expected, found);
        stopped_ = stopped_ || endsAtRefusal_;
    } else if (!stopped_) {
        stopped_ = true;
        Kr::Print::instance().write(Kr::PrintType::Error, "%s:%s: further faults are not shown\n",
                                    fileName_, std::to_string(line));
    }
    return false;
}

bool KrCsvReader::stop(std::size_t line, std::string const& expected, std::string const& found) {
    refuse(line, expected, found);
    stopped_ = true;
    return false;
}

// Appends what the stream has, and waits only if it has nothing. Moves the row to the front of
// the buffer. False at the end of the file.
bool KrCsvReader::fill() {
    if (stopped_ || stream_.eof()) {
        return false;
    }
    if (end_ - row_ > longestRow) {
        return stop(rowLine_, "a row of at most 1 MB", "a longer one; is a quote not closed?");
    }
    std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(row_),
              buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
    at_ -= row_;
    end_ -= row_;
    row_ = 0;
    buffer_.resize(std::max(buffer_.size(), end_ + chunk));
    if (beforeRead_) {
        beforeRead_();
    }
    errno = 0;
    if (stream_.peek() != std::char_traits<char>::eof()) {
        std::streamsize const count =
            stream_.readsome(buffer_.data() + end_, static_cast<std::streamsize>(chunk));
        if (count > 0) {
            end_ += static_cast<std::size_t>(count);
        } else if (stream_.get(buffer_[end_])) {  // a stream without a buffer
            ++end_;
        }
        return true;
    }
    if (stream_.bad()) {
        ++errorCount_;
        stopped_ = true;
        Kr::Print::instance().write(Kr::PrintType::Error, "%s:%s: cannot be read: %s\n", fileName_,
                                    std::to_string(line_), std::generic_category().message(errno));
    }
    return false;
}

// The next byte, or -1 at the end of the file.
int KrCsvReader::peek() {
    return at_ < end_ || fill() ? static_cast<unsigned char>(buffer_[at_]) : -1;
}

// Skips the LF of the CRLF whose CR ended the last line. Waits for the next byte.
void KrCsvReader::endReturn() {
    if (int const c = peek(); afterReturn_) {
        afterReturn_ = false;
        if (c == '\n') {
            row_ = ++at_;
        }
    }
}

// Skips the end of a line, if there is one. The LF of a CRLF may not have arrived yet.
void KrCsvReader::endLine() {
    int const c = peek();
    if (c == '\n' || c == '\r') {
        ++at_;
        ++line_;
        afterReturn_ = c == '\r';
    }
}

// The first line that is not blank, where the reader stands then. Line ends in quotes are part of
// it.
std::string_view KrCsvReader::peekFirstLine() {
    for (;;) {
        endReturn();
        Quotes quotes;
        std::size_t size = 0;
        for (; at_ + size < end_ || fill(); ++size) {
            char const c = buffer_[at_ + size];
            if (!quotes.contain(c) && isLineEnd(c)) {
                break;
            }
        }
        std::string_view const line(buffer_.data() + at_, size);
        if (!krXmlTrimmed(line).empty() || at_ + size == end_) {
            return line;
        }
        at_ += size;
        endLine();
        row_ = at_;
    }
}

void KrCsvReader::chooseSeparator(std::string_view line) {
    Quotes quotes;
    bool hasTab = false;
    bool hasSemicolon = false;
    bool hasComma = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        bool const isDecimal = decimalComma_ && i > 0 && i + 1 < line.size() &&
                               isDigit(line[i - 1]) && isDigit(line[i + 1]);
        if (!quotes.contain(line[i])) {
            hasTab = hasTab || line[i] == '\t';
            hasSemicolon = hasSemicolon || line[i] == ';';
            hasComma = hasComma || (line[i] == ',' && !isDecimal);
        }
    }
    bool const isSemicolon = hasSemicolon || (decimalComma_ && !hasComma);
    separator_ = hasTab ? '\t' : isSemicolon ? ';' : ',';
}

void KrCsvReader::begin() {
    begun_ = true;
    // A first line of fewer bytes must not wait for the next one.
    auto const mayBeMark = [&] { return static_cast<unsigned char>(buffer_[0]) >= 0xEF; };
    while ((end_ == 0 || (end_ < 3 && mayBeMark())) && fill()) {
    }
    std::string_view const start(buffer_.data(), end_);
    if (start.starts_with("\xFF\xFE") || start.starts_with("\xFE\xFF")) {
        stop(1, "a text in UTF-8", "one in UTF-16");
        return;
    }
    at_ = row_ = start.starts_with("\xEF\xBB\xBF") ? 3 : 0;
    std::string_view line = krXmlTrimmed(peekFirstLine());
    if (line.starts_with('"') && line.ends_with('"') && line.size() == 7) {
        line = line.substr(1, 5);
    }
    // The tab of "sep=\t" has been trimmed.
    if (line.size() < 4 || line.size() > 5 || !equalsInLowerCase(line.substr(0, 4), "sep=")) {
        chooseSeparator(line);
        return;
    }
    separator_ = line.size() == 5 ? line[4] : '\t';
    if (separator_ != ',' && separator_ != ';' && separator_ != '\t') {
        stop(line_, "the separator , or ; or a tab", krXmlQuoted(line.substr(4)));
        return;
    }
    while (peek() >= 0 && !isLineEnd(buffer_[at_])) {
        ++at_;
    }
    endLine();
    row_ = at_;
}

// Reads a quoted field behind its opening quote, and blanks behind its closing quote.
bool KrCsvReader::scanQuoted() {
    std::size_t const firstLine = line_;
    std::size_t const begin = at_ - row_;
    std::size_t size = 0;  // two quotes become one in the buffer
    char last = '\0';
    for (;;) {
        if (peek() < 0) {
            return stopped_ ? false : stop(firstLine, "a closing quote", "the end of the file");
        }
        char const c = buffer_[at_++];
        if (c == '"') {
            if (peek() != '"') {
                break;
            }
            ++at_;
        }
        line_ += c == '\r' || (c == '\n' && last != '\r') ? 1 : 0;
        last = c;
        buffer_[row_ + begin + size++] = c;
    }
    fields_.push_back({begin, size});
    while (peek() == ' ' || (separator_ != '\t' && peek() == '\t')) {
        ++at_;
    }
    if (int const c = peek(); c >= 0 && c != separator_ && !isLineEnd(static_cast<char>(c))) {
        return stop(line_, "a separator behind the closing quote",
                    krXmlQuoted(std::string_view(buffer_.data() + at_, 1)));
    }
    return true;
}

// Reads a field up to its separator or line end.
bool KrCsvReader::scanPlain() {
    std::size_t const begin = at_ - row_;
    char const separator = separator_;
    do {
        char const* const data = buffer_.data();
        std::size_t at = at_;
        while (at < end_ && data[at] != separator && !isLineEnd(data[at])) {
            ++at;
        }
        at_ = at;
    } while (at_ == end_ && fill());
    std::string_view const all(row() + begin, at_ - row_ - begin);
    std::string_view const text = krXmlTrimmed(all);
    fields_.push_back({static_cast<std::size_t>(text.data() - row()), text.size()});
    return !stopped_;
}

// Reads one line of the file; false at the end.
bool KrCsvReader::scanRow() {
    row_ = at_;
    fields_.clear();
    endReturn();
    rowLine_ = line_;
    if (stopped_ || peek() < 0) {
        return false;
    }
    for (;;) {
        while (peek() == ' ') {
            ++at_;
        }
        bool const isQuoted = peek() == '"';
        if (isQuoted) {
            ++at_;
        }
        if (!(isQuoted ? scanQuoted() : scanPlain())) {
            fields_.clear();
            return false;
        }
        if (peek() != separator_) {
            break;
        }
        ++at_;
    }
    endLine();
    while (!fields_.empty() && fields_.back().size == 0) {
        fields_.pop_back();
    }
    return true;
}

KrBoolean KrCsvReader::nextRow() {
    if (kept_) {
        kept_ = false;
        return true;
    }
    if (!begun_) {
        begin();
    }
    do {
        if (!scanRow()) {
            return false;
        }
    } while (fields_.empty());
    return true;
}

KrBoolean KrCsvReader::parse(std::string_view text, double& value) const {
    std::string copy;
    if (decimalComma_ && text.find_first_of(".,") != text.npos) {
        if (text.find('.') != text.npos) {
            return false;
        }
        text = copy = withPoint(text);
    }
    return KrXmlText<double>::parse(text, value) == KrXmlParse::Good ||
           parseSpecial(krXmlTrimmed(text), value);
}

KrBoolean KrCsvReader::readHeader() {
    if (!nextRow()) {
        return false;
    }
    columns_ = size();
    firstLine_ = rowLine_;
    for (std::vector<std::string>* const texts : {&names_, &units_}) {
        double value = 0.0;
        std::size_t numbers = 0;
        std::size_t text = 0;  // the last field that is none
        for (std::size_t i = 0; i < size(); ++i) {
            bool const isNumber = parse(field(i), value) || looksLikeNumber(field(i));
            numbers += isNumber ? 1 : 0;
            text = isNumber ? text : i;
        }
        if (numbers == size()) {
            break;
        }
        if (numbers > 0) {
            return refuse(texts == &names_ ? "a header without a number, or a row of numbers"
                                           : "units without a number, or a row of numbers",
                          krXmlQuoted(field(text)) + " in " + describe(text));
        }
        for (std::size_t i = 0; i < size(); ++i) {
            texts->emplace_back(field(i));
        }
        if (!nextRow()) {
            return false;
        }
    }
    kept_ = true;
    return true;
}

std::string KrCsvReader::describe(std::size_t column) const {
    bool const isNamed = column < names_.size() && !names_[column].empty();
    return "column " + (isNamed ? krXmlQuoted(names_[column]) : std::to_string(column + 1));
}

bool KrCsvReader::refuseNumber(std::size_t index) {
    std::string_view const text = field(index);
    std::string const found = krXmlQuoted(text);
    bool const hasComma = text.find(',') != text.npos;
    bool const hasPoint = text.find('.') != text.npos;
    if (!decimalComma_ && hasComma && isFinite(withPoint(text))) {
        return refuse("a number with a decimal point in " + describe(index),
                      found + "; commas are decimal only on request (--decimal ,)");
    }
    if (decimalComma_ && hasPoint && isFinite(text)) {
        return refuse("a number with a decimal comma in " + describe(index), found);
    }
    double value = 0.0;
    bool const isTooLarge =
        KrXmlText<double>::parse(withPoint(text), value) == KrXmlParse::OutOfRange;
    return refuse(
        (isTooLarge ? "a number in the range of double in " : "a number in ") + describe(index),
        found);
}

bool KrCsvReader::readNumbers(KrRealVector& numbers) {
    if (size() != columns_) {
        return refuse(std::to_string(columns_) + (columns_ == 1 ? " field" : " fields"),
                      std::to_string(size()));
    }
    numbers.resize(columns_);
    for (std::size_t i = 0; i < columns_; ++i) {
        if (!parse(field(i), numbers[i])) {
            return refuseNumber(i);
        }
    }
    return true;
}

KrBoolean KrCsvReader::nextNumbers(KrRealVector& numbers) {
    while (nextRow()) {
        if (readNumbers(numbers)) {
            return true;
        }
    }
    return false;
}
