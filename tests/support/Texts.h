#pragma once

#include "foundation/xml/KrXmlReader.h"

#include <sstream>
#include <string>

/// An element inside of a document.
inline std::string component(std::string const& tag, std::string const& content) {
    return "<" + tag + ">" + content + "</" + tag + ">";
}

inline std::string item(std::string const& content) { return component("item", content); }

/// A document of one of the library's elements.
inline std::string document(std::string const& tag, std::string const& content) {
    return "<" + tag + " xmlns='urn:zeibreku:function#'>" + content + "</" + tag + ">";
}

/// Reads a document into `element` as the framework reads a child. What was read before a
/// refusal stays.
template <class Element>
bool reads(Element& element, std::string const& content) {
    std::istringstream stream(document(std::string(element.token().localName()), content));
    KrXmlReader reader(stream);
    return element.read(reader);
}
