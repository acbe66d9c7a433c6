#include "foundation/core/KrPrint.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>
#include <locale>
#include <memory>
#include <mutex>
#include <ostream>
#include <span>
#include <streambuf>
#include <string_view>
#include <utility>

KR_SOURCE_VERSION;

namespace {

using Kr::Message;
using Kr::Print;
using Kr::PrintArgument;
using Kr::PrintType;

// Adds a line end to a message that has none, so that messages do not run together.
void writeToStandardError(Message const& message) {
    bool const ended = !message.text.empty() && message.text.back() == '\n';
    std::fputs((ended ? message.text : message.text + '\n').c_str(), stderr);
}

struct Output {
    // Recursive, so that a sink may print or install another sink.
    std::recursive_mutex mutex;
    std::shared_ptr<Print::Sink const> sink =
        std::make_shared<Print::Sink const>(writeToStandardError);

    void send(Message const& message) {
        std::lock_guard const lock(mutex);
        auto const current = sink;  // keeps a sink alive that replaces itself
        if (*current) {
            (*current)(message);
        }
    }
};

// Never destroyed: objects that print may outlive every static object of this library.
Output& output() {
    static Output& instance = *new Output;
    return instance;
}

// Collects the characters of one message and sends them when it is flushed.
class MessageBuffer : public std::streambuf {
public:
    ~MessageBuffer() override {
        try {
            send();
        } catch (...) {  // an exception here would end the program
        }
    }

    void begin(PrintType type, char const* context) {
        message_.type = type;
        message_.context = context ? context : "";
    }

    void send() {
        if (!message_.text.empty()) {
            Message const complete{message_.type, message_.context, std::move(message_.text)};
            message_.text.clear();
            output().send(complete);
        }
    }

protected:
    int_type overflow(int_type character) override {
        if (!traits_type::eq_int_type(character, traits_type::eof())) {
            message_.text.push_back(traits_type::to_char_type(character));
        }
        return traits_type::not_eof(character);
    }
    std::streamsize xsputn(char const* text, std::streamsize count) override {
        message_.text.append(text, static_cast<std::size_t>(count));
        return count;
    }
    int sync() override {
        send();
        return 0;
    }

private:
    Message message_{PrintType::Error, {}, {}};
};

struct MessageStream {
    MessageBuffer buffer;
    std::ostream stream{&buffer};
};

MessageStream& messageStream() {
    // A plain pointer is valid until the thread's end. If an object prints after `owner` is
    // destroyed, it gets a new stream, which is never deleted.
    thread_local MessageStream* stream = nullptr;
    thread_local struct Owner {
        ~Owner() { delete std::exchange(stream, nullptr); }
    } const owner;
    if (!stream) {
        stream = new MessageStream;
    }
    return *stream;
}

// Clamps to the range of the integer type; NaN becomes 0.
template <class Integer>
Integer toInteger(double value) {
    if (!(value > static_cast<double>(std::numeric_limits<Integer>::min()))) {
        return value != value ? Integer{0} : std::numeric_limits<Integer>::min();
    }
    if (value >= static_cast<double>(std::numeric_limits<Integer>::max())) {
        return std::numeric_limits<Integer>::max();
    }
    return static_cast<Integer>(value);
}

template <class Value>
void appendConverted(std::string& text, std::string const& directive, Value value) {
    char room[64];  // a longer text is converted a second time
    int const length = std::snprintf(room, sizeof room, directive.c_str(), value);
    std::size_t const size = length > 0 ? static_cast<std::size_t>(length) : 0;
    if (size < sizeof room) {
        text.append(room, size);
        return;
    }
    std::size_t const start = text.size();
    text.resize(start + size + 1);
    std::snprintf(text.data() + start, size + 1, directive.c_str(), value);
    text.pop_back();
}

// The printf conversions, chosen by the directive and by the argument's own type.
class Formatter {
public:
    explicit Formatter(std::span<PrintArgument const> arguments) : arguments_(arguments) {}

    std::string format(std::string_view pattern) {
        while (!pattern.empty()) {
            std::size_t const percent = pattern.find('%');
            text_ += pattern.substr(0, percent);
            if (percent == std::string_view::npos) {
                break;
            }
            pattern.remove_prefix(percent + 1);
            pattern.remove_prefix(convert(pattern));
        }
        return std::move(text_);
    }

private:
    // Converts the directive behind a '%' and returns its length.
    std::size_t convert(std::string_view rest) {
        std::string directive = "%";
        std::size_t used = 0;
        for (; used < rest.size(); ++used) {
            char const character = rest[used];
            if (character == '*') {
                appendWidth(directive, arguments_.empty() ? 0 : toWidth(next()));
            } else if (std::string_view("-+ #0123456789.").find(character) !=
                       std::string_view::npos) {
                directive += character;
            } else if (std::string_view("hlLqjzt").find(character) == std::string_view::npos) {
                break;  // length modifiers are dropped: the argument knows its own width
            }
        }
        if (used == rest.size()) {
            return used;
        }
        char const conversion = rest[used];
        if (conversion == '%') {
            text_ += '%';
        } else if (!arguments_.empty()) {
            append(directive, conversion, next());
        }
        return used + 1;
    }

    // A negative precision counts as absent, as in printf.
    static void appendWidth(std::string& directive, long long width) {
        if (width < 0 && directive.back() == '.') {
            directive.pop_back();
        } else {
            directive += std::to_string(width);
        }
    }

    PrintArgument const& next() {
        PrintArgument const& argument = arguments_.front();
        arguments_ = arguments_.subspan(1);
        return argument;
    }

    static long long toWidth(PrintArgument const& argument) {
        return std::min(4096LL, std::max(-4096LL, argument.asSigned()));
    }

    void append(std::string const& directive, char conversion, PrintArgument const& argument) {
        switch (conversion) {
            case 'd':
            case 'i': appendConverted(text_, directive + "lld", argument.asSigned()); break;
            case 'u':
            case 'o':
            case 'x':
            case 'X':
                appendConverted(text_, directive + "ll" + conversion, argument.asUnsigned());
                break;
            case 'c':
                appendConverted(text_, directive + 'c', static_cast<int>(argument.asSigned()));
                break;
            case 'e':
            case 'E':
            case 'f':
            case 'F':
            case 'g':
            case 'G':
            case 'a':
            case 'A': appendConverted(text_, directive + conversion, argument.asReal()); break;
            case 's': appendText(directive, argument.asText()); break;
            case 'p': appendConverted(text_, directive + 'p', argument.asPointer()); break;
            default: break;
        }
    }

    // Either way, the text ends at its first NUL.
    void appendText(std::string const& directive, std::string const& text) {
        if (directive == "%") {
            text_.append(text, 0, text.find('\0'));
        } else {
            appendConverted(text_, directive + 's', text.c_str());
        }
    }

    std::span<PrintArgument const> arguments_;
    std::string text_;
};

}  // namespace

namespace Kr {

long long PrintArgument::asSigned() const {
    switch (kind_) {
        case Kind::Signed: return signed_;
        case Kind::Unsigned: return static_cast<long long>(unsigned_);
        case Kind::Real: return toInteger<long long>(real_);
        default: return 0;
    }
}

unsigned long long PrintArgument::asUnsigned() const {
    if (kind_ == Kind::Real && real_ >= 0.0) {
        return toInteger<unsigned long long>(real_);
    }
    long long const value = asSigned();
    return isWide_ ? static_cast<unsigned long long>(value) : static_cast<unsigned>(value);
}

double PrintArgument::asReal() const {
    switch (kind_) {
        case Kind::Real: return real_;
        case Kind::Unsigned: return static_cast<double>(unsigned_);
        default: return static_cast<double>(asSigned());
    }
}

std::string PrintArgument::asText() const {
    switch (kind_) {
        case Kind::Text: return text_;
        case Kind::Unsigned: return std::to_string(unsigned_);
        case Kind::Real: {
            char digits[32];
            return std::string(digits, std::to_chars(digits, digits + sizeof digits, real_).ptr);
        }
        default: return std::to_string(asSigned());
    }
}

Print::Print() = default;

Print& Print::instance() {
    static Print& instance = *new Print;
    return instance;
}

void Print::writeArguments(PrintType type, char const* format,
                           std::span<PrintArgument const> arguments) {
    messageStream().buffer.send();
    output().send({type, {}, Formatter(arguments).format(format)});
}

std::ostream& Print::ostream(PrintType type, char const* context) {
    MessageStream& current = messageStream();
    current.buffer.send();
    current.buffer.begin(type, context);
    current.stream.clear();
    current.stream.copyfmt(std::ios(nullptr));    // drops the last message's formatting
    current.stream.exceptions(std::ios::badbit);  // lets a sink's exceptions pass
    current.stream.imbue(std::locale::classic());
    return current.stream;
}

Print::Sink Print::setSink(Sink sink) {
    Output& out = output();
    std::lock_guard const lock(out.mutex);
    Sink previous = *out.sink;
    out.sink = std::make_shared<Sink const>(std::move(sink));
    return previous;
}

}  // namespace Kr
