#pragma once

#include "foundation/core/KrExport.h"

#include <compare>
#include <iosfwd>
#include <string>
#include <string_view>

/// An XML qualified name as one text: the namespace URI, which ends in '#', and the local
/// name directly behind it. A name without a namespace is its local name. Tokens compare
/// and order by their text.
///
///     KrToken const ns("urn:example#");
///     KrToken const alpha = ns + "alpha";   // "urn:example#alpha"
class KR_EXPORT KrToken {
public:
    KrToken() = default;
    /// The token of the full `text`.
    explicit KrToken(char const* text) : text_(text) {}
    explicit KrToken(std::string text) : text_(std::move(text)) {}
    KrToken(KrToken const&) = default;
    KrToken(KrToken&&) = default;
    KrToken& operator=(KrToken const&) = default;
    KrToken& operator=(KrToken&&) = default;
    virtual ~KrToken();

    /// The full text with the namespace. `operator<<` writes what this returns.
    virtual std::string text() const;

    /// Appends to the full text, without a separator.
    KrToken& operator+=(std::string const& more);

    /// Compares the full texts with their namespaces.
    bool operator==(KrToken const& other) const { return text_ == other.text_; }
    bool operator==(std::string const& other) const { return text_ == other; }
    /// The order of the full texts, byte by byte.
    std::strong_ordering operator<=>(KrToken const& other) const { return text_ <=> other.text_; }

    /// The full text, without a copy and without a virtual call.
    operator std::string const&() const { return text_; }
    /// A copy of the full text.
    std::string token() const { return text_; }
    /// The full text, valid until the token changes or is destroyed.
    char const* c_str() const { return text_.c_str(); }

    /// The part after the last '#'. Without a namespace, the whole text.
    std::string_view localName() const;

    /// The part up to and including the last '#'; empty without a namespace.
    std::string_view namespaceUri() const;

private:
    std::string text_;
};

/// The token of the text of `prefix` with `local` behind it.
KR_EXPORT KrToken operator+(KrToken const& prefix, char const* local);

/// Writes the token's full text and escapes nothing.
KR_EXPORT std::ostream& operator<<(std::ostream& stream, KrToken const& token);
