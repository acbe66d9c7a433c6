#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlSchema.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "foundation/xml/KrXmlWriter.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

/// An element that owns a list of elements of the base class `T`, in document order. Reading
/// creates each element from its tag, by the vector's creators, else by the reader's factory.
///
///     <multivariableConstraintVector count="2">
///       <linearMultivariableConstraint> ... </linearMultivariableConstraint>
///       <quadraticMultivariableConstraint> ... </quadraticMultivariableConstraint>
///     </multivariableConstraintVector>
///
/// A vector stores clones. An entry is empty (null) after the size constructor, after
/// `erase(first, last)`, and if a clone is not a `T`. Empty entries are counted and copied, but
/// not written.
///
/// An index out of range prints a message with the operation's signature as context.
template <class T>
class KR_EXPORT KrXmlVariableVectorType : public KrXmlBaseVariableCompoundType {
public:
    KrXmlVariableVectorType() = default;
    /// A list of `count` empty entries.
    explicit KrXmlVariableVectorType(KrU32 count) : entries_(count) {}

    /// The element at `index`. If the index is out of range or the entry is empty, it prints a
    /// message and returns the first element. If there is no element, it returns a default one
    /// of the first class, by tag, that it can create; the vector owns it. If it can create
    /// none, the behaviour is undefined.
    virtual T const& operator[](KrU32 index) const {
        if (T const* const element = find(index)) {
            return *element;
        }
        report(__PRETTY_FUNCTION__,
               "KrXmlVariableVectorType<ElementType>::operator[]: bad index\n");
        report(__PRETTY_FUNCTION__, "Will attempt to return the first vector element.\n");
        return firstElement();
    }
    virtual T& operator[](KrU32 index) {
        if (T* const element = find(index)) {
            return *element;
        }
        report(__PRETTY_FUNCTION__, "bad index\n");
        report(__PRETTY_FUNCTION__, "Will attempt to return the first vector element.\n");
        return firstElement();
    }

    /// Replaces the entry at `index` by a clone of `element`. Returns false if the index is out
    /// of range.
    virtual KrBoolean exchange(KrU32 index, T const& element) {
        if (index >= size()) {
            report(__PRETTY_FUNCTION__,
                   "KrXmlVariableVectorType<ElementType>::exchange: bad index, ", index, '\n');
            return false;
        }
        T* const clone = KrOwned<T>::cloneOf(&element);  // `element` may be the entry itself
        delete entries_.list[index];
        entries_.list[index] = clone;
        return true;
    }

    /// Removes the entry at `index` and its element; later entries move up. Returns false if the
    /// index is out of range.
    virtual KrBoolean erase(KrU32 index) {
        if (index >= size()) {
            report(__PRETTY_FUNCTION__, "KrXmlVariableVectorType<ElementType>::erase: bad index, ",
                   index, '\n');
            return false;
        }
        delete entries_.list[index];
        entries_.list.erase(entries_.list.begin() + index);
        return true;
    }

    /// Deletes the elements `first` to `last` inclusive and leaves one empty entry at `first`.
    /// Fill it by `exchange` or remove it by `erase(first)`. Returns false unless
    /// first < last < size(). Callers depend on the empty entry.
    virtual KrBoolean erase(KrU32 first, KrU32 last) {
        if (last >= size() || last <= first) {
            report(__PRETTY_FUNCTION__,
                   "KrXmlVariableVectorType<ElementType>::erase: bad first/last indices: ", first,
                   '/', last, '\n');
            return false;
        }
        auto const begin = entries_.list.begin();
        std::for_each(begin + first, begin + last + 1, [](T*& entry) {
            delete entry;
            entry = nullptr;
        });
        entries_.list.erase(begin + first, begin + last);
        return true;
    }

    /// Appends a clone of `element`.
    virtual void pushBack(T const& element) { append(KrOwned<T>::cloneOf(&element)); }

    /// The entries; an empty one is null.
    virtual std::vector<T*> const& vectorContainer() const { return entries_.list; }

    /// Reserves memory for `count` entries and adds none.
    virtual void reserve(KrU32 count) { entries_.list.reserve(count); }

    /// Shortens the list to `count` entries. It never lengthens it.
    virtual void resize(KrU32 count) {
        while (size() > count) {
            delete entries_.list.back();
            entries_.list.pop_back();
        }
    }

    /// Removes every entry.
    virtual void clear() { resize(0); }

    /// Replaces the list by `count` clones of `element`, which may be one of the present
    /// elements.
    virtual void assign(KrU32 count, T& element) {
        Entries clones(count);
        for (T*& entry : clones.list) {
            entry = KrOwned<T>::cloneOf(&element);
        }
        entries_ = std::move(clones);
    }

    /// The number of entries, including empty ones.
    virtual KrU32 size() const { return static_cast<KrU32>(entries_.list.size()); }

    // Writes piece by piece, for lists too long for memory:
    //
    //     KrXmlWriter* writer = nullptr;
    //     vector.writeHeaderToStream(stream, writer, "made by example", vector.token());
    //     for (...) vector.appendElementToStream(writer, element);
    //     vector.writeFooterToStream(writer);

    /// Creates a writer, which the footer deletes, and starts the element `tag`. Its `count` is
    /// `size()`. Returns false if the stream or the writer fails; if the stream had failed
    /// before, it creates no writer.
    virtual KrBoolean writeHeaderToStream(std::ostream& stream, KrXmlWriter*& writer,
                                          std::string const& writerText, KrToken const& tag) const {
        if (stream.fail()) {
            return false;
        }
        writer = new KrXmlWriter(writerText, stream);
        writer->startElement(tag);
        // NOLINTNEXTLINE(bugprone-parent-virtual-call): the part of the base only
        return KrXmlObject::write(*writer) && writeStart(*writer);
    }

    /// Writes the entries. This and the next two return false if there is no writer.
    virtual KrBoolean writeBodyToStream(KrXmlWriter* writer) const {
        if (!writer) {
            return false;
        }
        for (T const* const entry : entries_.list) {
            if (entry) {
                appendElementToStream(writer, *entry);
            }
        }
        return true;
    }

    /// Writes `element`, which need not be in the vector.
    virtual KrBoolean appendElementToStream(KrXmlWriter* writer, T const& element) const {
        if (!writer) {
            return false;
        }
        krXmlWriteElement(*writer, element.token(), element);
        return true;
    }

    /// Ends the element, deletes the writer and sets it to null.
    virtual KrBoolean writeFooterToStream(KrXmlWriter*& writer) const {
        if (!writer) {
            return false;
        }
        writer->endElement();
        delete writer;
        writer = nullptr;
        return true;
    }

    /// Replaces the elements by those of the document.
    KrBoolean read(KrXmlReader& reader) override {
        // A document may state any count: no more memory than this is reserved for it.
        constexpr KrU32 mostReserved = 1024;
        clear();
        std::optional<KrU32> count;
        bool const countRead = KrXmlVector::readCount(reader, count);
        reserve(std::min(count.value_or(0), mostReserved));
        return KrXmlBaseVariableCompoundType::read(reader) && countRead;
    }

    KrBoolean write(KrXmlWriter& writer) const override {
        bool const good = writeStart(writer);
        writeBodyToStream(&writer);
        return good;
    }

    void writeSchema(KrXmlSchema& schema) const override {
        // Not the base's, whose list is not restricted to `T`.
        KrXmlObject::writeSchema(schema);  // NOLINT(bugprone-parent-virtual-call)
        schema.startGroup(KrXmlSchema::Group::List);
        schema.element(KrXml::KrAddLibrariesToken, addLibraries());
        schema.family(*this, [](KrXmlObject& object) { return dynamic_cast<T*>(&object); });
        schema.endGroup();
        schema.attribute(KrXml::KrCountToken, KrXmlBasicType<KrU32>());
    }

    KrBoolean readValueFromToken(KrToken const& token, KrXmlReader& reader) override {
        if (KrXmlBaseVariableCompoundType::readValueFromToken(token, reader)) {
            return true;
        }
        std::unique_ptr<T> element(KrOwned<T>::castOrDelete(newObjectFromToken(token)));
        if (!element && reader.factory()) {
            element.reset(KrOwned<T>::castOrDelete(reader.factory()->newObjectFromToken(token)));
        }
        if (!element) {
            report(__PRETTY_FUNCTION__,
                   "KrXmlVariableVectorType::readValueFromToken() error:\n\t\"",
                   krXmlPrintable(token.text(), 200), "\" tag not registered.\n");
            return false;
        }
        element->read(reader);
        append(element.release());
        return true;
    }

    /// A vector has no components.
    void registerComponents() {}

    /// A list with an empty entry equals no list.
    bool operator==(KrXmlVariableVectorType const&) const = default;

private:
    // Owns the elements. The pointers are plain, since `vectorContainer` returns the list.
    struct Entries {
        Entries() = default;
        explicit Entries(KrU32 count) : list(count) {}
        Entries(Entries const& source) : Entries(static_cast<KrU32>(source.list.size())) {
            std::transform(source.list.begin(), source.list.end(), list.begin(),
                           KrOwned<T>::cloneOf);
        }
        Entries(Entries&&) noexcept = default;
        Entries& operator=(Entries const& source) {
            if (this != &source) {
                *this = Entries(source);
            }
            return *this;
        }
        Entries& operator=(Entries&& source) noexcept {
            list.swap(source.list);
            return *this;
        }
        ~Entries() {
            for (T* const entry : list) {
                delete entry;
            }
        }

        bool operator==(Entries const& other) const {
            return std::equal(list.begin(), list.end(), other.list.begin(), other.list.end(),
                              [](T const* a, T const* b) { return a && b && a->equality(b); });
        }

        std::vector<T*> list;
    };

    template <class... Parts>
    static void report(char const* context, Parts const&... parts) {
        (Kr::Print::ostream(Kr::PrintType::Error, context) << ... << parts) << std::flush;
    }

    T* find(KrU32 index) const { return index < size() ? entries_.list[index] : nullptr; }

    T& firstElement() const {
        for (T* const entry : entries_.list) {
            if (entry) {
                return *entry;
            }
        }
        for (auto const& [token, creator] : creatorMap()) {
            if (!*standIn_) {
                standIn_->reset(KrOwned<T>::castOrDelete(newObjectFromToken(token)));
            }
        }
        return **standIn_;
    }

    void append(T* element) {
        std::unique_ptr<T> owner(element);
        entries_.list.push_back(element);
        static_cast<void>(owner.release());
    }

    KrBoolean writeStart(KrXmlWriter& writer) const {
        KrXmlVector::writeCount(writer, size());
        return KrXmlBaseVariableCompoundType::write(writer);
    }

    Entries entries_;
    mutable KrScratch<KrOwned<T>> standIn_;
};
