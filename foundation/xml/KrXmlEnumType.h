#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlSchema.h"
#include "foundation/xml/KrXmlText.h"
#include "foundation/xml/KrXmlTokens.h"
#include "foundation/xml/KrXmlWriter.h"

#include <string>
#include <utility>
#include <vector>

/// A number of type `T` that a document writes as one of a list of texts. The
/// texts belong to the object's class, which sets them with `setEnumString`
/// before the object is first read or written; the value is its own.
///
///     <directionsMode>urn:zeibreku:function#rotated</directionsMode>
template <class T>
class KR_EXPORT KrXmlEnumType
    : public KrElement<KrXmlEnumType<T>, KrXmlObject, KrXml::KrItemToken> {
public:
    KrXmlEnumType() = default;
    /// Any value is taken; one that has no text cannot be written.
    explicit KrXmlEnumType(T const& value) : value_(value) {}

    KrXmlEnumType(KrXmlEnumType const&) = default;
    KrXmlEnumType(KrXmlEnumType&&) noexcept = default;
    /// Takes the value. The texts belong to the class: an assignment never takes them
    /// away from an object that has them.
    KrXmlEnumType& operator=(KrXmlEnumType const& other) {
        value_ = other.value_;
        if (texts_->empty()) {
            texts_ = other.texts_;
        }
        return *this;
    }
    /// The same, and allocates nothing: a document that was read replaces an object also
    /// when there is no more memory.
    KrXmlEnumType& operator=(KrXmlEnumType&& other) noexcept {
        value_ = other.value_;
        if (texts_->empty()) {
            texts_->swap(*other.texts_);
        }
        return *this;
    }
    KrXmlEnumType& operator=(T const& value) {
        value_ = value;
        return *this;
    }

    /// The number, whether it has a text or not.
    T const& value() const { return value_; }
    /// The same by conversion.
    operator T const&() const { return value_; }

    /// `text` is what is written and read for `value`, in place of an earlier
    /// text for it.
    void setEnumString(T const& value, std::string const& text) {
        for (auto& [known, knownText] : *texts_) {
            if (known == value) {
                knownText = text;
                return;
            }
        }
        texts_->emplace_back(value, text);
    }

    bool operator==(KrXmlEnumType const&) const = default;

    KrBoolean read(KrXmlReader& reader) override {
        std::string_view text;
        return reader.readText(text) && parse(text, reader);
    }

    KrBoolean readAttribute(KrXmlReader& reader) override {
        return parse(reader.attributeValue(), reader);
    }

    /// Fails for a value that has no text.
    KrBoolean write(KrXmlWriter& writer) const override {
        for (auto const& [known, text] : *texts_) {
            if (known == value_) {
                writer.text(text);
                return true;
            }
        }
        writer.refuse(std::to_string(value_) + " is none of " + listed());
        return false;
    }

    void writeSchema(KrXmlSchema& schema) const override {
        std::vector<std::string> texts;
        for (auto const& entry : *texts_) {
            texts.push_back(entry.second);
        }
        schema.simpleType("xs:token", texts);  // white space around a text is read
    }

    bool isBasicType() const override { return true; }

private:
    bool parse(std::string_view text, KrXmlReader& reader) {
        for (auto const& [known, knownText] : *texts_) {
            if (knownText == krXmlTrimmed(text)) {
                value_ = known;
                return true;
            }
        }
        return reader.refuse("one of " + listed(), krXmlQuoted(text));
    }

    std::string listed() const {
        std::string list;
        for (auto const& entry : *texts_) {
            list += (list.empty() ? "" : ", ") + entry.second;
        }
        return list;
    }

    T value_{};
    KrUncompared<std::vector<std::pair<T, std::string>>> texts_;
};
