#include "foundation/xml/KrXmlSchema.h"

#include "foundation/core/internal/KrReplaceFile.h"
#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "foundation/xml/KrXmlCompoundType.h"
#include "foundation/xml/KrXmlFactory.h"
#include "foundation/xml/KrXmlWriter.h"

#include <list>
#include <ostream>
#include <sstream>
#include <typeinfo>
#include <utility>

KR_SOURCE_VERSION;

namespace {

// Whether the object gets a named type. Classes need one, since they may hold one another.
bool isClass(KrXmlObject const& object) {
    return dynamic_cast<KrXmlCompoundType const*>(&object) ||
           dynamic_cast<KrXmlBaseVariableCompoundType const*>(&object);
}

}  // namespace

// An element of the schema document. The nodes of a list do not move, so that `open_` stays
// valid while types are added.
struct KrXmlSchema::Node {
    explicit Node(std::string nodeName, Node* nodeParent = nullptr)
        : name(std::move(nodeName)), parent(nodeParent) {}

    Node& add(std::string const& childName) { return children.emplace_back(childName, this); }

    Node& with(std::string const& attribute, std::string const& value) {
        attributes.emplace_back(attribute, value);
        return *this;
    }

    void write(KrXmlWriter& writer) const {
        writer.startElement(KrToken(name));
        for (auto const& [attribute, value] : attributes) {
            writer.startAttribute(KrToken(attribute));
            writer.text(value);
            writer.endAttribute();
        }
        // XML Schema wants a type's attributes behind its children.
        for (bool const isAttribute : {false, true}) {
            for (Node const& child : children) {
                if ((child.name == "xs:attribute") == isAttribute) {
                    child.write(writer);
                }
            }
        }
        writer.endElement();
    }

    std::string name;
    Node* parent;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::list<Node> children;
};

KrXmlSchema::KrXmlSchema(std::string targetNamespace)
    : targetNamespace_(std::move(targetNamespace)),
      root_(std::make_unique<Node>("xs:schema")),
      open_(root_.get()) {
    root_->with("xmlns:xs", "http://www.w3.org/2001/XMLSchema");
    if (!targetNamespace_.empty()) {
        root_->with("xmlns", targetNamespace_).with("targetNamespace", targetNamespace_);
    }
    root_->with("elementFormDefault", "qualified");
}

KrXmlSchema::KrXmlSchema(KrXmlFactory const& factory, std::string targetNamespace)
    : KrXmlSchema(std::move(targetNamespace)) {
    factory_ = &factory;
}

KrXmlSchema::~KrXmlSchema() = default;

void KrXmlSchema::startGroup(Group group) {
    bool const isChoice = group == Group::Choice || group == Group::List;
    open_ = &open_->add(group == Group::All ? "xs:all" : isChoice ? "xs:choice" : "xs:sequence");
    if (isChoice) {
        open_->with("minOccurs", "0");
    }
    if (group == Group::List) {
        open_->with("maxOccurs", "unbounded");
    }
}

void KrXmlSchema::endGroup() { open_ = open_->parent; }

void KrXmlSchema::element(KrToken const& tag, KrXmlObject const& object) {
    std::string const uri(tag.namespaceUri());
    bool const isRoot = open_ == root_.get();
    if (uri != targetNamespace_ && (isRoot || !uri.empty())) {
        foreignElement(uri);
        return;
    }
    Node& node = open_->add("xs:element").with("name", std::string(tag.localName()));
    if (uri != targetNamespace_) {
        node.with("form", "unqualified");
    }
    if (!isRoot && open_->name != "xs:choice") {
        node.with("minOccurs", "0");
    }
    describe(node, object);
}

// Allows the elements of another namespace, once for each namespace: a schema must not be
// ambiguous about which of its parts an element matches.
void KrXmlSchema::foreignElement(std::string const& uri) {
    if (open_ == root_.get()) {
        return;
    }
    for (Node const* group = open_; group->name != "xs:complexType"; group = group->parent) {
        for (Node const& child : group->children) {
            if (child.name == "xs:any" && child.attributes.front().second == uri) {
                return;
            }
        }
    }
    if (open_->name == "xs:all") {  // cannot contain wildcards
        open_->name = "xs:choice";
        open_->with("minOccurs", "0").with("maxOccurs", "unbounded");
    }
    open_->add("xs:any")
        .with("namespace", uri)
        .with("processContents", "lax")
        .with("minOccurs", "0")
        .with("maxOccurs", "unbounded");
}

void KrXmlSchema::family(KrXmlBaseVariableCompoundType const& holder,
                         std::function<bool(KrXmlObject& object)> const& belongs) {
    auto const describeElement = [&](KrToken const& tag, KrXmlObject* created) {
        std::unique_ptr<KrXmlObject> const object(created);
        if (object && belongs(*object)) {
            element(tag, *object);
        }
    };
    KrXmlCreatorMap const& own = holder.creatorMap();
    for (auto const& [tag, creator] : own) {
        describeElement(tag, holder.newObjectFromToken(tag));
    }
    if (!factory_) {
        return;
    }
    for (auto const& [tag, creator] : factory_->creatorMap()) {
        if (!own.contains(tag)) {
            describeElement(tag, factory_->newObjectFromToken(tag));
        }
    }
    foreignElements();
}

// Allows all elements outside of the target namespace.
void KrXmlSchema::foreignElements() {
    // Replaces the wildcards of single namespaces, which would match the same elements.
    open_->children.remove_if([](Node const& child) { return child.name == "xs:any"; });
    for (char const* const any : {"##other", "##local"}) {
        open_->add("xs:any").with("namespace", any).with("processContents", "lax");
    }
}

void KrXmlSchema::attribute(KrToken const& tag, KrXmlObject const& object) {
    describe(open_->add("xs:attribute").with("name", std::string(tag.localName())), object);
}

void KrXmlSchema::simpleType(std::string const& base, std::vector<std::string> const& texts) {
    if (texts.empty()) {
        open_->with("type", base);
        return;
    }
    Node& restriction = open_->add("xs:simpleType").add("xs:restriction").with("base", base);
    for (std::string const& text : texts) {
        restriction.add("xs:enumeration").with("value", text);
    }
}

void KrXmlSchema::boundedType(std::string const& base, std::string const& largest) {
    // Many components have this type, so that it is described once, under a name.
    auto const [type, isNew] = typeNames_.try_emplace(base + largest, "upTo" + largest);
    if (isNew) {
        root_->add("xs:simpleType")
            .with("name", type->second)
            .add("xs:restriction")
            .with("base", base)
            .add("xs:maxInclusive")
            .with("value", largest);
    }
    open_->with("type", type->second);
}

KrBoolean KrXmlSchema::described(KrXmlObject const& object) const {
    return typeNames_.contains(typeid(object).name());
}

std::string KrXmlSchema::text() const {
    std::ostringstream stream;
    KrXmlWriter writer("", stream);
    root_->write(writer);
    return writer.good() ? std::move(stream).str() : std::string();
}

KrBoolean KrXmlSchema::writeFile(std::string const& path) const {
    std::string const document = text();
    return !document.empty() && krReplaceFile(path, [&](std::ostream& stream) {
        stream << document;
        return stream.good();
    });
}

// A new name for the type of the class: its tag, with a number if another class has the same
// tag.
std::string KrXmlSchema::typeNameOf(KrXmlObject const& object) {
    std::string const tag(object.token().localName());
    std::string name = tag;
    for (int number = 2;; ++number) {
        bool taken = false;
        for (auto const& entry : typeNames_) {
            taken = taken || entry.second == name;
        }
        if (!taken) {
            return name;
        }
        name = tag + std::to_string(number);
    }
}

// Describes the content of `object` as the type of `node`.
void KrXmlSchema::describe(Node& node, KrXmlObject const& object) {
    Node* const before = std::exchange(open_, &node);
    if (isClass(object)) {
        bool const isNew = !described(object);
        std::string& name = typeNames_[typeid(object).name()];
        if (isNew) {
            name = typeNameOf(object);
            open_ = &root_->add("xs:complexType").with("name", name);
            object.writeSchema(*this);
        }
        node.with("type", name);
    } else {
        if (!object.isBasicType()) {
            open_ = &node.add("xs:complexType");
        }
        object.writeSchema(*this);
    }
    open_ = before;
}
