#pragma once

#include "foundation/core/KrExport.h"

#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <type_traits>

namespace Kr {

/// How grave a message is. The numbers are part of the interface.
enum class PrintType : int {
    Warning = 3,   ///< something in the input disagrees with itself; nothing was lost
    Error = 4,     ///< an input or a call was refused
    Mismatch = 5,  ///< the sizes of an object's data do not belong together
};

/// What a sink is handed.
struct Message {
    PrintType type;       ///< how grave it is
    std::string context;  ///< the signature of the function that speaks; may be empty
    std::string text;     ///< the message alone, with its own line ends; few have none
};

/// What a message can show as a number.
template <class T>
concept PrintNumber = std::is_arithmetic_v<T> || std::is_enum_v<T>;

/// One argument of a printf-style message, with the type that it really has.
class KR_EXPORT PrintArgument {
public:
    /// What the argument was given as.
    enum class Kind { Signed, Unsigned, Real, Text, Pointer };

    /// Keeps the value in the widest type of its kind; an enumeration as a signed
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
    /// The text is not copied: it lives as long as the message is formatted. Null is
    /// "(null)".
    PrintArgument(char const* text) : kind_(Kind::Text), text_(text ? text : "(null)") {}
    PrintArgument(std::string const& text) : PrintArgument(text.c_str()) {}
    /// Any other pointer, to be printed as an address.
    PrintArgument(void const* pointer) : kind_(Kind::Pointer), pointer_(pointer) {}

    /// The number, for %d: a real without its fraction and held inside the range, 0
    /// for what is no number.
    long long asSigned() const;
    /// The number, for %u, %o and %x: a negative one as the two's complement of its
    /// own width.
    unsigned long long asUnsigned() const;
    /// The number, for %e, %f, %g and %a.
    double asReal() const;
    /// The text, for %s: that of a number, too.
    std::string asText() const;
    /// The address, for %p; null for what is no pointer.
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

/// The logging facility of the libraries. Every message goes to one sink, which
/// a client may replace; the default sink writes the text to standard error, and a
/// line end where it has none. All operations may be called from several threads:
/// messages reach the sink one at a time.
///
///     Kr::Print::instance().write(Kr::PrintType::Error, "bad mode: %d\n", mode);
class KR_EXPORT Print {
public:
    /// Receives each message as it is printed, from the thread that prints it. It may
    /// itself print, or install another sink. An exception that it throws passes through
    /// the operation that printed. An object of the library is consistent then: it
    /// changes its state first and prints afterwards.
    using Sink = std::function<void(Message const&)>;

    /// The one logger of the process, made when it is first asked for.
    static Print& instance();

    /// Prints a printf-style message without a context. Each conversion takes
    /// the argument's value whatever its type, so that a conversion which does
    /// not fit its argument prints some number ("%d" of 0.5 prints 0) and a
    /// missing argument prints nothing.
    template <class... Arguments>
    void write(PrintType type, char const* format, Arguments const&... arguments) {
        // One more than needed, since an array cannot be empty.
        PrintArgument const list[] = {PrintArgument(arguments)..., PrintArgument(0)};
        writeArguments(type, format, std::span(list, sizeof...(arguments)));
    }

    /// A stream for one message; it becomes a message when the stream is
    /// flushed or the thread's next message begins. The stream belongs to the
    /// calling thread; numbers are written independently of the locale. An exception of
    /// the sink passes through the flush, or through what begins the next message.
    static std::ostream& ostream(PrintType type, char const* context);

    /// Installs `sink` and returns the one that was in force. An empty sink
    /// discards every message.
    Sink setSink(Sink sink);

private:
    Print();
    void writeArguments(PrintType type, char const* format,
                        std::span<PrintArgument const> arguments);
};

}  // namespace Kr
