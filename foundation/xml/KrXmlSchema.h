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

/// Collects an XML Schema (1.0) from what objects say of themselves in
/// `writeSchema`. Each class of elements and containers is described once, as a
/// named type, so that classes may hold one another; values are described where
/// they stand.
///
///     KrXmlSchema schema;
///     schema.element(object.token(), object);  // a root; there may be several
///     std::string const text = schema.text();
///
/// Inside a `writeSchema`, a class describes its children, then its attributes:
///
///     schema.startGroup(KrXmlSchema::Group::All);
///     schema.element(token, member);
///     schema.endGroup();
///     schema.attribute(token, member);
///
/// or calls `simpleType` alone.
///
/// A schema describes one namespace. An element of another one is allowed where
/// it may stand, whatever it holds, and the children beside it then any number of
/// times.
class KR_EXPORT KrXmlSchema {
public:
    /// How the children of a group may stand in a document.
    enum class Group {
        All,       ///< each child at most once, in any order
        Sequence,  ///< each child at most once, in the order given
        Choice,    ///< one of the children, or none
        List,      ///< the children any number of times, in any order
    };

    /// Describes elements of `targetNamespace`, and those without a namespace.
    explicit KrXmlSchema(std::string targetNamespace = KrXml::namespaceUri);
    /// The same for documents that are read with `factory`, which must outlive the schema.
    explicit KrXmlSchema(KrXmlFactory const& factory,
                         std::string targetNamespace = KrXml::namespaceUri);
    ~KrXmlSchema();
    KrXmlSchema(KrXmlSchema const&) = delete;
    KrXmlSchema& operator=(KrXmlSchema const&) = delete;

    /// Opens a group of children; a choice or a list may stand in a sequence.
    void startGroup(Group group);
    /// Closes the group that was opened last.
    void endGroup();

    /// A child element `tag` with the content of `object`, in the open group; where
    /// none is open, a root element of documents, which must be of the target
    /// namespace.
    void element(KrToken const& tag, KrXmlObject const& object);

    /// An optional attribute `tag` with the value of `object`.
    void attribute(KrToken const& tag, KrXmlObject const& object);

    /// In the open choice or list, the elements that `holder` may hold: each that it
    /// creates itself and `belongs` accepts. In a schema with a factory also those of the
    /// factory's that `belongs` accepts, and any element of another namespace or of none:
    /// a reader's factory may create it. `belongs` may prepare the object that it is given.
    void family(KrXmlBaseVariableCompoundType const& holder,
                std::function<bool(KrXmlObject& object)> const& belongs);

    /// By what a document's reader creates what a holder cannot; null when there is none.
    KrXmlFactory const* factory() const { return factory_; }

    /// The content is a text of the XML Schema type `base`, and one of `texts`
    /// where there are any.
    void simpleType(std::string const& base, std::vector<std::string> const& texts = {});

    /// The content is a number of the XML Schema type `base`, and at most `largest`.
    void boundedType(std::string const& base, std::string const& largest);

    /// Whether the run-time class of `object` has been described already.
    KrBoolean described(KrXmlObject const& object) const;

    /// The schema's document; empty, with a message, on failure.
    std::string text() const;
    /// Writes that document to the file `path`, in one step; false, with a message, on
    /// failure.
    KrBoolean writeFile(std::string const& path) const;

private:
    struct Node;

    std::string typeNameOf(KrXmlObject const& object);
    void describe(Node& node, KrXmlObject const& object);
    void foreignElement(std::string const& uri);
    void foreignElements();

    std::string targetNamespace_;
    KrXmlFactory const* factory_ = nullptr;
    std::map<std::string, std::string> typeNames_;  // by class, and by what a bounded type is
    std::unique_ptr<Node> root_;
    Node* open_;  // what the calls of a writeSchema add to
};
