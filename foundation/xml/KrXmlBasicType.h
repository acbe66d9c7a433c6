#pragma once

#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlSchema.h"
#include "foundation/xml/KrXmlText.h"
#include "foundation/xml/KrXmlTokens.h"
#include "foundation/xml/KrXmlWriter.h"

#include <string>
#include <utility>

/// A value of type `double`, `KrU32`, `bool` or `std::string` as an object of a document.
/// `KrXmlText<T>` converts its text. If a text is refused, the value stays.
///
///     <alpha>0.5</alpha>
template <class T>
class KR_EXPORT KrXmlBasicType
    : public KrElement<KrXmlBasicType<T>, KrXmlObject, KrXml::KrItemToken> {
public:
    KrXmlBasicType() = default;
    /// Holds `value`. Explicit, so that a comparison with a number compares numbers.
    explicit KrXmlBasicType(T value) : value_(std::move(value)) {}

    /// Sets the value and keeps the flags of the object.
    KrXmlBasicType& operator=(T value) {
        value_ = std::move(value);
        return *this;
    }

    /// Converts to the value.
    operator T const&() const { return value_; }
    /// The value, where a conversion is ambiguous.
    T const& value() const { return value_; }

    bool operator==(KrXmlBasicType const&) const = default;

    KrBoolean read(KrXmlReader& reader) override {
        std::string_view text;
        return reader.readText(text) && krXmlSetFromText(reader, text, value_);
    }

    KrBoolean readAttribute(KrXmlReader& reader) override {
        return krXmlSetFromText(reader, reader.attributeValue(), value_);
    }

    KrBoolean write(KrXmlWriter& writer) const override {
        KrXmlTextRoom room;
        std::string_view const text = KrXmlText<T>::format(value_, room);
        if constexpr (std::is_arithmetic_v<T>) {
            writer.plainText(text);
        } else {
            writer.text(text);
        }
        return true;
    }

    void writeSchema(KrXmlSchema& schema) const override {
        if constexpr (requires { KrXmlText<T>::schemaLargest; }) {
            schema.boundedType(KrXmlText<T>::schemaType, KrXmlText<T>::schemaLargest);
        } else {
            schema.simpleType(KrXmlText<T>::schemaType);
        }
    }

    bool isBasicType() const override { return true; }

private:
    T value_{};
};
