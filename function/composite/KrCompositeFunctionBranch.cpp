#include "function/composite/KrCompositeFunctionBranch.h"

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlSchema.h"
#include "function/composite/KrCompositeFunctionContainer.h"

#include <algorithm>
#include <utility>

KR_SOURCE_VERSION;

KrCompositeFunctionBranch& KrCompositeFunctionBranch::operator=(
    KrCompositeFunctionBranch const& source) {
    if (this != &source) {
        KrCompositeFunctionBranch copy(source);  // first: `source` may be part of a child
        KrTaggedElement::operator=(static_cast<KrTaggedElement&&>(copy));  // the base only
        left_ = std::move(copy.left_);
        right_ = std::move(copy.right_);
        result_ = std::move(copy.result_);
        setContainer(container());  // for the new children
    }
    return *this;
}

KrRealVector const& KrCompositeFunctionBranch::evaluate(KrRealVector const& point,
                                                        KrBoolean& ok) const {
    ok = false;
    KrRealVector const* leftValues = nullptr;
    KrRealVector const* rightValues = nullptr;
    // Evaluates a child once, even if `ok` was false. A second evaluation would give the same,
    // and would double the work at every level of the tree.
    auto const evaluateOnce = [&](Child const& child, KrRealVector const*& values) {
        if (!values) {
            values = &child->evaluate(point, ok);
        }
        result_ = *values;
    };
    if (left_ && left_->isInBounds(point)) {
        evaluateOnce(left_, leftValues);
    }
    if (!ok && right_ && right_->isInBounds(point)) {
        evaluateOnce(right_, rightValues);
    }
    if (!ok && left_ && left_->ableToExtrap(point)) {
        evaluateOnce(left_, leftValues);
    }
    if (!ok && right_ && right_->ableToExtrap(point)) {
        evaluateOnce(right_, rightValues);
    }
    return result_;
}

KrCompositeFunctionElement::Bounds const& KrCompositeFunctionBranch::initBounds() {
    bounds_.clear();
    if (left_ && right_) {
        bounds_ = left_->initBounds();
        Bounds const& other = right_->initBounds();
        for (std::size_t i = 0; i < std::min(bounds_.size(), other.size()); ++i) {
            bounds_[i][0] = std::min(bounds_[i][0], other[i][0]);
            bounds_[i][1] = std::max(bounds_[i][1], other[i][1]);
        }
    }
    return bounds_;
}

KrCompositeFunctionElement::Flags const& KrCompositeFunctionBranch::initLimitOrExtrapolate() {
    limitOrExtrapolate_.clear();
    if (left_ && right_) {
        limitOrExtrapolate_ = left_->initLimitOrExtrapolate();
        Flags const& other = right_->initLimitOrExtrapolate();
        for (std::size_t i = 0; i < std::min(limitOrExtrapolate_.size(), other.size()); ++i) {
            for (std::size_t const end : {std::size_t{0}, std::size_t{1}}) {
                limitOrExtrapolate_[i][end] = limitOrExtrapolate_[i][end] || other[i][end];
            }
        }
    }
    return limitOrExtrapolate_;
}

void KrCompositeFunctionBranch::setLeft(KrCompositeFunctionElement const& element) {
    setChild(left_, element);
}

void KrCompositeFunctionBranch::setRight(KrCompositeFunctionElement const& element) {
    setChild(right_, element);
}

void KrCompositeFunctionBranch::setChild(Child& child, KrCompositeFunctionElement const& element) {
    child.reset(Child::cloneOf(&element));  // `element` may be part of the old child
    if (child) {
        child->setContainer(container());
    }
}

void KrCompositeFunctionBranch::setContainer(KrXmlBaseVariableCompoundType const* container) {
    KrCompositeFunctionElement::setContainer(container);
    for (Child const* const child : {&left_, &right_}) {
        if (*child) {
            (*child)->setContainer(container);
        }
    }
}

KrBoolean KrCompositeFunctionBranch::read(KrXmlReader& reader) {
    left_.reset();
    right_.reset();
    return KrCompositeFunctionElement::read(reader);
}

KrBoolean KrCompositeFunctionBranch::write(KrXmlWriter& writer) const {
    bool good = KrCompositeFunctionElement::write(writer);
    for (Child const* const child : {&left_, &right_}) {
        if (*child) {
            good = krXmlWriteElement(writer, (*child)->token(), **child) && good;
        }
    }
    return good;
}

// The schema accepts any number of children of the classes that the container creates. A
// branch without a container has them too, since it writes the children that were set.
void KrCompositeFunctionBranch::writeSchema(KrXmlSchema& schema) const {
    KrCompositeFunctionElement::writeSchema(schema);
    KrCompositeFunctionContainer const standIn;
    auto const* const home = container() ? container() : &standIn;
    schema.startGroup(KrXmlSchema::Group::List);
    for (auto const& [token, creator] : home->creatorMap()) {
        Child const child(Child::castOrDelete(home->newObjectFromToken(token)));
        if (child) {
            child->setContainer(home);
            schema.element(token, *child);
        }
    }
    schema.endGroup();
}

// Only the container creates children, not the reader's factory: the whole tree then accepts
// one list of classes, which is the list in its schema.
KrBoolean KrCompositeFunctionBranch::readValueFromSpecialToken(KrToken const& token,
                                                               KrXmlReader& reader) {
    if (!container()) {
        Kr::Print::instance().write(Kr::PrintType::Error, "Bad token: %s on line %d\n",
                                    krXmlPrintable(token.text(), 200), reader.line());
        return false;
    }
    Child child(Child::castOrDelete(container()->newObjectFromToken(token)));
    if (child) {
        child->setContainer(container());
        child->read(reader);
    }
    bool const created = static_cast<bool>(child);
    (left_ ? right_ : left_) = std::move(child);
    return created;
}
