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

/// An element that owns a list of elements of the base class `T`, each created
/// on reading from its own tag: by the vector's creators, else by the reader's
/// factory. The list is in document order.
///
///     <multivariableConstraintVector count="2">
///       <linearMultivariableConstraint> ... </linearMultivariableConstraint>
///       <quadraticMultivariableConstraint> ... </quadraticMultivariableConstraint>
///     </multivariableConstraintVector>
///
/// A vector keeps clones of what it is given. An entry is empty (null) after the
/// size constructor, after `erase(first, last)`, and where a clone turned out to
/// be no `T`; empty entries are counted and copied, and not written.
///
/// A bad index is reported with the operation's signature as context.
template <class T>
class KR_EXPORT KrXmlVariableVectorType : public KrXmlBaseVariableCompoundType {
public:
    KrXmlVariableVectorType() = default;
    /// `count` empty entries.
    explicit KrXmlVariableVectorType(KrU32 count) : entries_(count) {}

    /// The element at `index`. For a bad index, or an empty entry, it reports
    /// that and returns the first element that is there; a vector without any
    /// answers with a default one, which it keeps, of the first class that it can
    /// create in the order of tags, and must not be asked when it can create none.
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

    /// Puts a clone of `element` in the place of the entry at `index`.
    virtual KrBoolean exchange(KrU32 index, T const& element) {
        if (index >= size()) {
            report(__PRETTY_FUNCTION__,
                   "KrXmlVariableVectorType<ElementType>::exchange: bad index, ", index, '\n');
            return false;
        }
        T* const clone = KrOwned<T>::cloneOf(&element);  // which may be the entry itself
        delete entries_.list[index];
        entries_.list[index] = clone;
        return true;
    }

    /// Removes the entry at `index` and its element; those behind it move up. False for
    /// a bad index.
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

    /// Deletes the elements `first` to `last`, both included, for first < last <
    /// size(), but removes the entries before `last` alone: what was the entry
    /// `last` stays, empty, at `first`. Clients count on that entry, to be filled
    /// by `exchange` or removed by `erase`.
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

    /// The entries; null where one is empty.
    virtual std::vector<T*> const& vectorContainer() const { return entries_.list; }

    /// Makes room for `count` entries, and adds none.
    virtual void reserve(KrU32 count) { entries_.list.reserve(count); }

    /// Cuts the list to `count` entries; never grows it.
    virtual void resize(KrU32 count) {
        while (size() > count) {
            delete entries_.list.back();
            entries_.list.pop_back();
        }
    }

    /// Removes every entry.
    virtual void clear() { resize(0); }

    /// Replaces the list by `count` clones of `element`, which may be one of the
    /// present elements.
    virtual void assign(KrU32 count, T& element) {
        Entries clones(count);
        for (T*& entry : clones.list) {
            entry = KrOwned<T>::cloneOf(&element);
        }
        entries_ = std::move(clones);
    }

    /// The number of entries, empty ones included.
    virtual KrU32 size() const { return static_cast<KrU32>(entries_.list.size()); }

    // Writing piece by piece, for lists too long to be held in memory:
    //
    //     KrXmlWriter* writer = nullptr;
    //     vector.writeHeaderToStream(stream, writer, "made by example", vector.token());
    //     for (...) vector.appendElementToStream(writer, element);
    //     vector.writeFooterToStream(writer);

    /// Makes a writer, which the footer deletes, and starts the element `tag`; its
    /// count is the present number of entries. False when the stream or the writer
    /// fails; there is no writer when the stream had failed before.
    virtual KrBoolean writeHeaderToStream(std::ostream& stream, KrXmlWriter*& writer,
                                          std::string const& writerText, KrToken const& tag) const {
        if (stream.fail()) {
            return false;
        }
        writer = new KrXmlWriter(writerText, stream);
        writer->startElement(tag);
        // NOLINTNEXTLINE(bugprone-parent-virtual-call): the framework's part alone
        return KrXmlObject::write(*writer) && writeStart(*writer);
    }

    /// Writes the entries. Like the two below, false when there is no writer.
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

    /// Replaces the elements by those that the document has.
    KrBoolean read(KrXmlReader& reader) override {
        // A count is believed as far as it costs next to nothing.
        constexpr KrU32 believed = 1024;
        clear();
        std::optional<KrU32> count;
        bool const countRead = KrXmlVector::readCount(reader, count);
        reserve(std::min(count.value_or(0), believed));
        return KrXmlBaseVariableCompoundType::read(reader) && countRead;
    }

    KrBoolean write(KrXmlWriter& writer) const override {
        bool const good = writeStart(writer);
        writeBodyToStream(&writer);
        return good;
    }

    void writeSchema(KrXmlSchema& schema) const override {
        // Not the base's: its list is not of a class `T`.
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

    /// Lists with an empty entry are equal to none.
    bool operator==(KrXmlVariableVectorType const&) const = default;

private:
    // The owner of the elements. A list of plain pointers, since that is what
    // clients are shown.
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
