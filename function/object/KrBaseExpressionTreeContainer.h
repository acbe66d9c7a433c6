#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlSchema.h"
#include "foundation/xml/KrXmlWriter.h"

#include <utility>

/// An element that owns one element of the base class `T`, or none. Reading creates the element
/// from its tag, by the container's creators, else by the reader's factory. A concrete container
/// adds the operations of `T` and forwards them.
///
///     <optimizerContainer>
///       <nelderMead> ... </nelderMead>
///     </optimizerContainer>
///
/// A container stores clones. If a document has several children, the last one counts. A tag
/// that neither can create empties the container and is refused.
template <class T>
class KR_EXPORT KrBaseExpressionTreeContainer : public KrXmlBaseVariableCompoundType {
public:
    KrBaseExpressionTreeContainer() = default;
    KrBaseExpressionTreeContainer(KrBaseExpressionTreeContainer const&) = default;
    /// Clones the element.
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

    /// Moves the element and sets its container. There is no move constructor: the moved
    /// element would still point to the old container.
    KrBaseExpressionTreeContainer& operator=(KrBaseExpressionTreeContainer&& source) noexcept {
        if (this != &source) {
            // The base only; the next line moves the element.
            KrXmlBaseVariableCompoundType::operator=(
                static_cast<KrXmlBaseVariableCompoundType&&>(source));
            topElement_ = std::move(source.topElement_);
            if (topElement_) {
                setTopElementContainerToThis();
            }
        }
        return *this;
    }

    /// The element, null if the container is empty. Default: none.
    virtual T const* topElement() const { return topElement_.get(); }
    virtual T* topElement() { return topElement_.get(); }

    /// Replaces the element by a clone of `element`.
    virtual void setTopElement(T const& element) {
        setAndDeleteTopElementPointer(KrOwned<T>::cloneOf(&element));
    }

    /// Deletes the present element and takes ownership of `element`, which may be null.
    virtual void setAndDeleteTopElementPointer(T* element) {
        if (element != topElement_.get()) {
            topElement_.reset(element);
        }
        setTopElementContainerToThis();
    }

    /// Sets the container of the element. Does nothing here; containers whose elements use
    /// their container override it.
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

    /// Describes a choice of the elements that the container can create.
    void writeSchema(KrXmlSchema& schema) const override {
        // Not the base's, which describes a list of elements.
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
