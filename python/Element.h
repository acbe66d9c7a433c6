#pragma once

#include "foundation/xml/KrXmlCompoundType.h"
#include "python/Messages.h"

#include <pybind11/pybind11.h>

#include <memory>
#include <string>

/// One mechanism for all elements. The components that an element registers for its documents
/// become its Python properties, in snake case, so that a class needs one line:
///
///     bindElement<KrNelderMeadOptimizer, KrScalarMultivariableOptimizer>(module, "NelderMead");
///
/// `bindElement` returns the `pybind11::class_`, for behaviour besides the components.

/// Deletes an element of Python, and forgets that it was a part of another one.
struct ElementDeleter {
    void operator()(KrXmlObject* element) const;
};

/// How Python holds an element.
template <class T>
using ElementHolder = std::unique_ptr<T, ElementDeleter>;

/// The Python class of an element of class `T`.
template <class T, class Base>
using ElementClass = pybind11::class_<T, Base, ElementHolder<T>>;

/// The Python class `Element`.
using ElementBase = pybind11::class_<KrXmlObject, ElementHolder<KrXmlObject>>;

/// Called after a component has changed, where a class derives data from its components.
using ElementChanged = void (*)(KrXmlObject& element);

/// The Python object of a component: a number, a string, a read-only array of numbers, a tuple, or
/// a copy of an element, which is marked as a part of `name`.
pybind11::object componentToPython(KrXmlObject const& component, std::string const& name);

/// Sets a component from a Python object. `name` is that of the argument, for the exceptions
/// TypeError and ValueError.
void componentFromPython(KrXmlObject& component, pybind11::handle value, std::string const& name);

/// A Python object that owns `element`, of its own class.
pybind11::object elementToPython(std::unique_ptr<KrXmlObject> element);

/// Raises AttributeError if `element` is a part that another one has given out. Call it before a
/// change of an element.
void checkChangeable(KrXmlObject const& element);

/// A copy of a part of another element, which is marked as a part of `name`.
pybind11::object partOf(KrXmlObject const& element, std::string const& name);

/// What Python keeps with an element until it changes or is deleted: null at first.
std::shared_ptr<void const>& derivedOf(KrXmlObject const& element);

/// The Python name of a component: snake case of the local name of its tag.
std::string snakeCase(std::string_view name);

/// Adds the properties of the components of `prototype` to the Python class `type`.
void addComponents(pybind11::handle type, KrXmlObject& prototype, ElementChanged changed);
/// Adds a component that the class of `prototype` does not register for its documents. `set` gets
/// a value that the property or a keyword has got; `ElementChanged` is called after it.
void addComponent(pybind11::handle type, KrXmlObject const& prototype, std::string const& name,
                  pybind11::object (*get)(KrXmlObject const& element),
                  void (*set)(KrXmlObject& element, pybind11::handle value), char const* doc);
/// Sets components by keyword.
void setComponents(KrXmlObject& element, pybind11::kwargs const& values);
/// Sets components by the arguments of a constructor. If the class has one component only, it needs
/// no keyword.
void construct(KrXmlObject& element, pybind11::args const& positional,
               pybind11::kwargs const& values);

/// Adds the Python class `name` of the elements of class `T`, with a constructor by keywords and a
/// property for each component.
template <class T, class Base>
ElementClass<T, Base> bindElement(pybind11::module_& module, char const* name,
                                  ElementChanged changed = nullptr) {
    ElementClass<T, Base> type(module, name);
    T prototype;
    addComponents(type, prototype, changed);
    type.def(pybind11::init([](pybind11::args const& positional, pybind11::kwargs const& values) {
                 ElementHolder<T> element(new T);
                 construct(*element, positional, values);
                 return element;
             }),
             pybind11::call_guard<MessageDelivery>());
    return type;
}

/// Adds what reads and writes documents, and the schemas.
void bindDocuments(pybind11::module_& module, ElementBase& element);
