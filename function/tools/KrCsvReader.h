#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

/// Reads rows of numbers from a CSV file, as spreadsheets and numpy write it, row by row.
///
///     alpha;Mach;"lift coefficient"
///     deg;-;-
///     -4;0,2;-0,31
///
/// - A byte order mark of UTF-8 is skipped; UTF-16 is refused. Lines end with LF, CRLF or CR.
/// - A line `sep=;` at the beginning states the separator. Otherwise it is the tab if the first
///   line has one, else the semicolon, else the comma, outside of quotes. In a file with decimal
///   commas, a comma between two digits does not count.
/// - A field in double quotes may hold separators, line ends, and quotes written twice. Blanks
///   around other fields are dropped.
/// - Rows without text are skipped. Empty fields at the end of a row are left out: spreadsheets
///   fill rows up with them.
/// - If none of its fields is a number, the first row is a header. If none of its fields is a
///   number either, the row behind a header holds units. A row of both texts and numbers is refused
///   there. Text that begins with a digit or a signed digit counts as a number, and so do `NA`,
///   `N/A`, `NULL` and faults such as `#DIV/0!`. Units such as `1/s` and `10^3 N` do not.
/// - A number is that of `KrXmlText<double>`, or `nan`, `inf`, `infinity` with or without a sign,
///   in upper or lower case. A comma in it is refused. After `setDecimalComma(true)` a point is
///   refused instead, since it may separate thousands.
///
/// Every refusal is counted and printed as one message "FILE:LINE: expected ..., found ...".
/// After 100 refusals no more are printed, and reading ends. Reading also ends at a quoted field
/// that is not closed, at text behind a closing quote, and at a row longer than 1 MB.
///
/// A row does not wait for input beyond its line end.
///
/// Use one object in one thread at a time.
///
/// Cost: about 1 ns for a byte and 20 ns for a number. Memory: 64 KB, or the longest row.
class KR_EXPORT KrCsvReader {
public:
    /// Reads from `stream`, which must outlive the reader. Messages call the file `fileName`.
    explicit KrCsvReader(std::istream& stream, std::string const& fileName = "");

    /// Sets whether numbers have a decimal comma. Call it before the first row is read.
    /// Default: false.
    void setDecimalComma(KrBoolean isComma) { decimalComma_ = isComma; }

    /// Sets a function that is called before the reader asks the stream for more, which may wait.
    /// A program that answers each row writes its answers then. An exception passes through the
    /// operation that reads.
    void setBeforeRead(std::function<void()> const& function) { beforeRead_ = function; }

    /// Sets whether reading ends at the first refusal, without a wait for more input.
    /// Default: false.
    void setEndsAtRefusal(KrBoolean ends) { endsAtRefusal_ = ends; }

    /// Moves to the next row that holds text; false at the end of the file.
    KrBoolean nextRow();

    /// The number of fields in the row, without empty ones at its end.
    std::size_t size() const { return fields_.size(); }
    /// The text of a field, valid until the reader moves on. `index` is less than `size()`.
    std::string_view field(std::size_t index) const {
        return {row() + fields_[index].begin, fields_[index].size};
    }
    /// The line where the row begins, counted from 1.
    std::size_t line() const { return rowLine_; }

    /// Reads the header and the units, if there are any. Call it before any row is read. True if
    /// a row of numbers may follow, false if there is none or something was refused.
    KrBoolean readHeader();
    /// The number of columns, which is the number of fields in the first row; 0 before
    /// `readHeader` and in an empty file.
    std::size_t columns() const { return columns_; }
    /// The line of the first row; 0 before `readHeader` and in an empty file.
    std::size_t firstLine() const { return firstLine_; }
    /// The separator of fields, known after the first row: a comma, a semicolon or a tab.
    char separator() const { return separator_; }
    /// The fields of the header; empty if there is none.
    std::vector<std::string> const& names() const { return names_; }
    /// The fields of the line of units, at most as many as columns; empty if there is none.
    std::vector<std::string> const& units() const { return units_; }
    /// The name of a column as messages show it: `column "lift"`, or `column 3` without a header.
    std::string describe(std::size_t column) const;

    /// Moves to the next row and sets `numbers` to its `columns()` numbers. A row that holds
    /// anything else is refused and skipped. False at the end of the file.
    KrBoolean nextNumbers(KrRealVector& numbers);

    /// Sets `value` to the number in `text`. False, without a message, if `text` is not a number.
    KrBoolean parse(std::string_view text, double& value) const;

    /// Prints and counts a refusal of the current row. Returns false.
    KrBoolean refuse(std::string const& expected, std::string const& found);
    /// Prints and counts a refusal of another line. Returns false.
    KrBoolean refuse(std::size_t line, std::string const& expected, std::string const& found);
    /// The number of refusals so far.
    std::size_t errorCount() const { return errorCount_; }

    /// The name of the file in messages.
    std::string const& fileName() const { return fileName_; }

private:
    struct Field {
        std::size_t begin;  // counted from the beginning of the row
        std::size_t size;
    };

    char const* row() const { return buffer_.data() + row_; }
    void begin();
    std::string_view peekFirstLine();
    void chooseSeparator(std::string_view line);
    bool scanRow();
    bool scanQuoted();
    bool scanPlain();
    bool fill();
    int peek();
    void endReturn();
    void endLine();
    bool readNumbers(KrRealVector& numbers);
    bool refuseNumber(std::size_t index);
    bool stop(std::size_t line, std::string const& expected, std::string const& found);

    std::istream& stream_;
    std::string fileName_;
    std::function<void()> beforeRead_;
    std::vector<char> buffer_;
    std::size_t row_ = 0;  // where the current row begins in the buffer
    std::size_t at_ = 0;   // what is read next
    std::size_t end_ = 0;  // the end of what the buffer holds
    std::vector<Field> fields_;
    std::size_t rowLine_ = 1;
    std::size_t line_ = 1;  // of the byte that is read next
    std::size_t columns_ = 0;
    std::size_t firstLine_ = 0;
    std::vector<std::string> names_;
    std::vector<std::string> units_;
    std::size_t errorCount_ = 0;
    char separator_ = ',';
    bool decimalComma_ = false;
    bool endsAtRefusal_ = false;
    bool begun_ = false;
    bool stopped_ = false;      // nothing more is read
    bool kept_ = false;         // the current row was read to look for units
    bool afterReturn_ = false;  // a CR ended the last line; an LF may belong to it
};
