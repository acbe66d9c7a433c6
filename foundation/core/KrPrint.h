#pragma once

#include "foundation/core/KrExport.h"

#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <type_traits>

namespace Kr {

/// The severity of a message. The numbers are part of the interface.
enum class PrintType : int {
    Warning = 3,   ///< the input contradicts itself; nothing was lost
    Error = 4,     ///< an input or a call was refused
    Mismatch = 5,  ///< the sizes of an object's data do not match
};

/// A message as a sink receives it.
struct Message {
    PrintType type;       ///< its severity
    std::string context;  ///< the signature of the function that prints; may be empty
    std::string text;     ///< the message with its own line ends; a few have none
};

/// A type that a message can show as a number.
template <class T>
concept PrintNumber = std::is_arithmetic_v<T> || std::is_enum_v<T>;

/// One argument of a printf-style message, with its own type.
class KR_EXPORT PrintArgument {
public:
    /// The kind of the argument's type.
    enum class Kind { Signed, Unsigned, Real, Text, Pointer };

    /// Keeps the value in the widest type of its kind. An enumeration becomes a signed
    /// number.
    template <PrintNumber T>
    PrintArgument(T value) : isWide_(sizeof(T) > sizeof(int)) {
        if constexpr (std::is_floating_point_v<T>) {
            kind_ = Kind::Real;
            real_ = static_cast<double>(value);
        } else if constexpr (std::is_signed_v<T> || std::is_enum_v<T>) {
            kind_ = Kind::Signed;
            signed_ = static_cast<long long>(value);
        } else {
            kind_ = Kind::Unsigned;
            unsigned_ = static_cast<unsigned long long>(value);
        }
    }
    /// Keeps a pointer to the text, which must exist until the message is formatted. Null
    /// becomes "(null)".
    PrintArgument(char const* text) : kind_(Kind::Text), text_(text ? text : "(null)") {}
    PrintArgument(std::string const& text) : PrintArgument(text.c_str()) {}
    /// Keeps any other pointer, which prints as an address.
    PrintArgument(void const* pointer) : kind_(Kind::Pointer), pointer_(pointer) {}

    /// The number for %d. A real loses its fraction and is clamped to the range. A text
    /// and a pointer give 0.
    long long asSigned() const;
    /// The number for %u, %o and %x. A negative number becomes the two's complement of its
    /// own width.
    unsigned long long asUnsigned() const;
    /// The number for %e, %f, %g and %a.
    double asReal() const;
    /// The text for %s. A number becomes its decimal text.
    std::string asText() const;
    /// The address for %p; null for a number and a text.
    void const* asPointer() const { return kind_ == Kind::Pointer ? pointer_ : nullptr; }

private:
    Kind kind_;
    bool isWide_ = true;
    union {
        long long signed_;
        unsigned long long unsigned_;
        double real_;
        char const* text_;
        void const* pointer_;
    };
};

/// The log of the libraries. Every message goes to one sink, which you may replace. The
/// default sink writes the text to standard error, and adds a line end if it has none. All
/// operations are thread-safe: messages reach the sink one at a time.
///
///     Kr::Print::instance().write(Kr::PrintType::Error, "bad mode: %d\n", mode);
class KR_EXPORT Print {
public:
    /// Receives each message as it is printed, on the thread that prints it. A sink may
    /// print, or install another sink. If it throws, the exception passes through the
    /// operation that printed. Objects of the library stay consistent then, since they
    /// change their state first and print afterwards.
    using Sink = std::function<void(Message const&)>;

    /// The only log of the process. The first call constructs it.
    static Print& instance();

    /// Prints a printf-style message without a context. Each conversion converts the
    /// argument's value from its own type: "%d" of 0.5 prints 0. A missing argument prints
    /// nothing.
    template <class... Arguments>
    void write(PrintType type, char const* format, Arguments const&... arguments) {
        // The last one is not used: an array cannot be empty.
        PrintArgument const list[] = {PrintArgument(arguments)..., PrintArgument(0)};
        writeArguments(type, format, std::span(list, sizeof...(arguments)));
    }

    /// A stream for one message, which is sent when the stream is flushed or the thread's
    /// next message begins. The stream belongs to the calling thread. The locale does not
    /// change how it writes numbers. An exception of the sink passes through the flush, or
    /// through the call that begins the next message.
    static std::ostream& ostream(PrintType type, char const* context);

    /// Installs `sink` and returns the previous one. An empty sink discards every message.
    Sink setSink(Sink sink);

private:
    Print();
    void writeArguments(PrintType type, char const* format,
                        std::span<PrintArgument const> arguments);
};

}  // namespace Kr
