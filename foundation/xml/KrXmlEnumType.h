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

/// A number of type `T` that a document shows as one of a list of texts. The class that
/// holds the object sets the texts by `setEnumString`, before it is first read or written.
///
///     <directionsMode>urn:zeibreku:function#rotated</directionsMode>
template <class T>
class KR_EXPORT KrXmlEnumType
    : public KrElement<KrXmlEnumType<T>, KrXmlObject, KrXml::KrItemToken> {
public:
    KrXmlEnumType() = default;
    /// Holds any value. A value without a text cannot be written.
    explicit KrXmlEnumType(T const& value) : value_(value) {}

    KrXmlEnumType(KrXmlEnumType const&) = default;
    KrXmlEnumType(KrXmlEnumType&&) noexcept = default;
    /// Copies the value. If the target has texts, it keeps them.
    KrXmlEnumType& operator=(KrXmlEnumType const& other) {
        value_ = other.value_;
        if (texts_->empty()) {
            texts_ = other.texts_;
        }
        return *this;
    }
    /// Does the same without allocation, so that replacing an object by one that was read
    /// cannot fail.
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

    /// The number, with or without a text.
    T const& value() const { return value_; }
    /// Converts to the number.
    operator T const&() const { return value_; }

    /// Sets the text of `value`, and replaces an earlier one.
    void setEnumString(T const& value, std::string const& text) {
        for (auto& [known, knownText] : *texts_) {
            if (known == value) {
                knownText = text;
                return;
            }
        }
        texts_->emplace_back(value, text);
    }

    /// The values with their texts, in the order in which they were set.
    std::vector<std::pair<T, std::string>> const& enumStrings() const { return *texts_; }

    bool operator==(KrXmlEnumType const&) const = default;

    KrBoolean read(KrXmlReader& reader) override {
        std::string_view text;
        return reader.readText(text) && parse(text, reader);
    }

    KrBoolean readAttribute(KrXmlReader& reader) override {
        return parse(reader.attributeValue(), reader);
    }

    /// Writes the text of the value. False, with a message, if it has none.
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
        schema.simpleType("xs:token", texts);  // white space around a text is accepted
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
