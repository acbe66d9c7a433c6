#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlSchema.h"
#include "foundation/xml/KrXmlWriter.h"

#include <utility>

/// An element that owns one element of the base class `T`, or none, and creates
/// it on reading from the tag that it meets: by its own creators, else by the
/// reader's factory. It stands in for its element; a concrete container adds the
/// operations of `T`.
///
///     <optimizerContainer>
///       <nelderMead> ... </nelderMead>
///     </optimizerContainer>
///
/// A container keeps clones of what it is given. Of several children in a
/// document it keeps the last; a tag that nobody can create empties it, and is
/// refused.
template <class T>
class KR_EXPORT KrBaseExpressionTreeContainer : public KrXmlBaseVariableCompoundType {
public:
    KrBaseExpressionTreeContainer() = default;
    KrBaseExpressionTreeContainer(KrBaseExpressionTreeContainer const&) = default;
    /// Takes a clone of the element.
    KrBaseExpressionTreeContainer& operator=(KrBaseExpressionTreeContainer const& source) {
        if (this != &source) {
            KrXmlBaseVariableCompoundType::operator=(source);
            topElement_ = source.topElement_;
            if (topElement_) {
                setTopElementContainerToThis();
            }
        }
        return *this;
    }

    /// Takes the element itself. There is no move construction: a moved element would
    /// know the old container.
    KrBaseExpressionTreeContainer& operator=(KrBaseExpressionTreeContainer&& source) noexcept {
        if (this != &source) {
            // The base's part alone: the element is moved in the next line.
            KrXmlBaseVariableCompoundType::operator=(
                static_cast<KrXmlBaseVariableCompoundType&&>(source));
            topElement_ = std::move(source.topElement_);
            if (topElement_) {
                setTopElementContainerToThis();
            }
        }
        return *this;
    }

    /// The element, null when the container is empty.
    virtual T const* topElement() const { return topElement_.get(); }
    virtual T* topElement() { return topElement_.get(); }

    /// Stores a clone of `element` in place of the present one.
    virtual void setTopElement(T const& element) {
        setAndDeleteTopElementPointer(KrOwned<T>::cloneOf(&element));
    }

    /// Deletes the present element and takes ownership of `element`, which may be
    /// null.
    virtual void setAndDeleteTopElementPointer(T* element) {
        if (element != topElement_.get()) {
            topElement_.reset(element);
        }
        setTopElementContainerToThis();
    }

    /// For containers whose elements need to know them; here, does nothing.
    virtual void setTopElementContainerToThis() {}

    KrBoolean read(KrXmlReader& reader) override {
        bool const good = KrXmlBaseVariableCompoundType::read(reader);
        if (topElement_) {
            setTopElementContainerToThis();
        }
        return good;
    }

    KrBoolean write(KrXmlWriter& writer) const override {
        bool const good = KrXmlBaseVariableCompoundType::write(writer);
        if (topElement_) {
            krXmlWriteElement(writer, topElement_->token(), *topElement_);
        }
        return good;
    }

    /// The element is one of those that the container can create.
    void writeSchema(KrXmlSchema& schema) const override {
        // Not the base's: it describes a list of what can be created, this is one.
        KrXmlObject::writeSchema(schema);  // NOLINT(bugprone-parent-virtual-call)
        schema.startGroup(KrXmlSchema::Group::Sequence);
        schema.element(KrXml::KrAddLibrariesToken, addLibraries());
        if (!creatorMap().empty() || schema.factory()) {
            schema.startGroup(KrXmlSchema::Group::Choice);
            schema.family(*this, [this](KrXmlObject& object) {
                T* const element = dynamic_cast<T*>(&object);
                if (element) {
                    element->setContainer(this);
                }
                return element != nullptr;
            });
            schema.endGroup();
        }
        schema.endGroup();
    }

    KrBoolean readValueFromToken(KrToken const& token, KrXmlReader& reader) override {
        if (KrXmlBaseVariableCompoundType::readValueFromToken(token, reader)) {
            return true;
        }
        setAndDeleteTopElementPointer(KrOwned<T>::castOrDelete(newObjectFromToken(token)));
        if (!topElement_ && reader.factory()) {
            setAndDeleteTopElementPointer(
                KrOwned<T>::castOrDelete(reader.factory()->newObjectFromToken(token)));
        }
        if (!topElement_) {
            return false;
        }
        topElement_->read(reader);
        return true;
    }

    bool operator==(KrBaseExpressionTreeContainer const&) const = default;

private:
    KrOwned<T> topElement_;
};
