#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"
#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrXmlTokens.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

class KrXmlBaseVariableCompoundType;
class KrXmlFactory;
class KrXmlObject;

/// Collects an XML Schema (1.0) from the objects' `writeSchema`. Each class of elements and
/// containers becomes one named type, so that classes may hold one another. Values are
/// described in place.
///
///     KrXmlSchema schema;
///     schema.element(object.token(), object);  // a root; there may be several
///     std::string const text = schema.text();
///
/// A class implements `writeSchema` so that it describes its children, then its attributes:
///
///     schema.startGroup(KrXmlSchema::Group::All);
///     schema.element(token, member);
///     schema.endGroup();
///     schema.attribute(token, member);
///
/// or calls only `simpleType`.
///
/// A schema describes one namespace. An element of another namespace is allowed in its place
/// with any content. Its siblings are then allowed any number of times.
class KR_EXPORT KrXmlSchema {
public:
    /// The order and the number of the children of a group in a document.
    enum class Group {
        All,       ///< each child at most once, in any order
        Sequence,  ///< each child at most once, in the order given
        Choice,    ///< one of the children, or none
        List,      ///< the children any number of times, in any order
    };

    /// Describes elements of `targetNamespace`, and those without a namespace.
    explicit KrXmlSchema(std::string targetNamespace = KrXml::namespaceUri);
    /// Does the same for documents that are read with `factory`, which must outlive the
    /// schema.
    explicit KrXmlSchema(KrXmlFactory const& factory,
                         std::string targetNamespace = KrXml::namespaceUri);
    ~KrXmlSchema();
    KrXmlSchema(KrXmlSchema const&) = delete;
    KrXmlSchema& operator=(KrXmlSchema const&) = delete;

    /// Opens a group of children. A sequence may contain choices and lists.
    void startGroup(Group group);
    /// Closes the innermost group.
    void endGroup();

    /// Adds a child element `tag` with the content of `object` to the open group. If no group
    /// is open, adds a root element, which must be in the target namespace.
    void element(KrToken const& tag, KrXmlObject const& object);

    /// Adds an optional attribute `tag` with the value of `object`.
    void attribute(KrToken const& tag, KrXmlObject const& object);

    /// Adds the elements that `holder` may hold to the open choice or list: those that it
    /// creates itself and `belongs` accepts. In a schema with a factory, adds the factory's
    /// elements that `belongs` accepts, and any element of another namespace or of none, since
    /// a reader's factory may create it. `belongs` may prepare the object that it receives.
    void family(KrXmlBaseVariableCompoundType const& holder,
                std::function<bool(KrXmlObject& object)> const& belongs);

    /// The factory of the documents' readers, null if there is none.
    KrXmlFactory const* factory() const { return factory_; }

    /// Declares that the content is a text of the XML Schema type `base`. If `texts` is not
    /// empty, it is one of them.
    void simpleType(std::string const& base, std::vector<std::string> const& texts = {});

    /// Declares that the content is a number of the XML Schema type `base`, at most `largest`.
    void boundedType(std::string const& base, std::string const& largest);

    /// Whether the run-time class of `object` is already described.
    KrBoolean described(KrXmlObject const& object) const;

    /// The schema's document; empty, with a message, on failure.
    std::string text() const;
    /// Writes that document to the file `path` atomically; false, with a message, on failure.
    KrBoolean writeFile(std::string const& path) const;

private:
    struct Node;

    std::string typeNameOf(KrXmlObject const& object);
    void describe(Node& node, KrXmlObject const& object);
    void foreignElement(std::string const& uri);
    void foreignElements();

    std::string targetNamespace_;
    KrXmlFactory const* factory_ = nullptr;
    std::map<std::string, std::string>
        typeNames_;  // by class, or by a bounded type's base and limit
    std::unique_ptr<Node> root_;
    Node* open_;  // the node that a writeSchema adds to
};
