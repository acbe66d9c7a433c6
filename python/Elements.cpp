#include "python/Element.h"

#include "foundation/xml/KrXmlChildren.h"
#include "function/composite/KrCompositeFunctionBranch.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/composite/KrTableFunctionInterpolator.h"
#include "function/multivariable/KrLinearMultivariableConstraint.h"
#include "function/multivariable/KrQuadraticMultivariableConstraint.h"
#include "function/object/KrMultivariableConstraintContainer.h"
#include "function/object/KrMultivariableConstraintVector.h"
#include "function/object/KrScalarFunctionContainer.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/object/KrScalarMultivariableOptimizerVector.h"
#include "function/object/KrUnitaryMapContainer.h"
#include "function/optimizer/KrHookeJeevesOptimizer.h"
#include "function/optimizer/KrImplicitFilteringOptimizer.h"
#include "function/optimizer/KrMultidirectionalSearchOptimizer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "function/optimizer/KrSequenceOptimizer.h"
#include "function/scalar/KrLinearScalarFunction.h"
#include "function/scalar/KrMultipointScalarFunction.h"
#include "function/scalar/KrPowerUnitaryMap.h"
#include "function/scalar/KrSCurveUnitaryMap.h"
#include "function/tools/KrGaussQuadrature.h"
#include "python/Module.h"
#include "python/Tools.h"
#include "python/Values.h"
#include "search/KrSearch.h"

#include <algorithm>
#include <unordered_map>

namespace py = pybind11;

namespace {

// --- Which elements are parts, and what a class derives from its components. Neither is ever
// destroyed, since elements may outlive the interpreter.

// The elements that are copies of a part of another one, with the name of the component.
std::unordered_map<KrXmlObject const*, std::string>& parts() {
    static auto* const all = new std::unordered_map<KrXmlObject const*, std::string>;
    return *all;
}

// By the name of the type in the C++ runtime.
std::unordered_map<std::string_view, ElementChanged>& changes() {
    static auto* const all = new std::unordered_map<std::string_view, ElementChanged>;
    return *all;
}

// By the element.
std::unordered_map<KrXmlObject const*, std::shared_ptr<void const>>& derived() {
    static auto* const all =
        new std::unordered_map<KrXmlObject const*, std::shared_ptr<void const>>;
    return *all;
}

// The components that a class does not register.
struct OtherComponent {
    std::string_view type;  // its name in the C++ runtime
    std::string name;
    void (*set)(KrXmlObject& element, py::handle value);
};

std::vector<OtherComponent>& otherComponents() {
    static auto* const all = new std::vector<OtherComponent>;
    return *all;
}

OtherComponent const* findOther(KrXmlObject const& element, std::string_view name) {
    auto const found = std::ranges::find_if(otherComponents(), [&](OtherComponent const& other) {
        return other.type == typeid(element).name() && other.name == name;
    });
    return found == otherComponents().end() ? nullptr : &*found;
}

void noteChange(KrXmlObject& element) {
    derived().erase(&element);
    auto const found = changes().find(typeid(element).name());
    if (found != changes().end()) {
        found->second(element);
    }
}

// Computes the boxes of a composite function. `==` compares them, and a tree has them only after
// its container has computed them.
void prepareBoxes(KrXmlObject& element) {
    if (auto* const function = dynamic_cast<KrCompositeFunctionElement*>(&element)) {
        function->initBounds();
        function->initLimitOrExtrapolate();
    }
}

}  // namespace

void ElementDeleter::operator()(KrXmlObject* element) const {
    parts().erase(element);
    derived().erase(element);
    delete element;
}

std::shared_ptr<void const>& derivedOf(KrXmlObject const& element) { return derived()[&element]; }

py::object partOf(KrXmlObject const& element, std::string const& name) {
    py::object part = elementToPython(std::unique_ptr<KrXmlObject>(element.clone()));
    parts().emplace(part.cast<KrXmlObject*>(), name);
    return part;
}

void checkChangeable(KrXmlObject const& element) {
    auto const found = parts().find(&element);
    if (found != parts().end()) {
        PyErr_SetString(PyExc_AttributeError,
                        ("this element is a copy of a part, '" + found->second +
                         "', and is read-only; change a copy.copy() of it and assign that")
                            .c_str());
        throw py::error_already_set();
    }
}

std::string snakeCase(std::string_view name) {
    std::string snake;
    for (char const c : name) {
        if (c >= 'A' && c <= 'Z') {
            snake += '_';
            snake += static_cast<char>(c - 'A' + 'a');
        } else {
            snake += c;
        }
    }
    return snake;
}

py::object elementToPython(std::unique_ptr<KrXmlObject> element) {
    prepareBoxes(*element);
    return py::cast(element.release(), py::return_value_policy::take_ownership);
}

namespace {

// The component of that Python name, null if there is none. Attributes of documents count too.
KrXmlObject* findComponent(KrXmlCompoundType& element, std::string_view name) {
    // The class fills an enumeration's texts when it is prepared.
    if (!element.xmlInitialized()) {
        element.xmlInit();
    }
    for (auto* const map : {&element.componentMap(), &element.attributeComponentMap()}) {
        for (auto const& entry : *map) {
            if (snakeCase(entry.token.localName()) == name) {
                return entry.object;
            }
        }
    }
    return nullptr;
}

KrXmlCompoundType& compound(KrXmlObject& element) {
    return dynamic_cast<KrXmlCompoundType&>(element);
}

KrXmlObject& existingComponent(KrXmlObject& element, std::string const& name) {
    return *findComponent(compound(element), name);
}

// The Python class of an element that may be under construction.
py::object typeOf(KrXmlObject& element) {
    return py::type::of(py::cast(&element, py::return_value_policy::reference));
}

[[noreturn]] void throwUnknown(KrXmlObject& element, std::string const& name) {
    py::object const type = typeOf(element);
    std::string text = std::string(py::str(type.attr("__name__"))) +
                       ": unexpected keyword argument '" + name + "'";
    py::list const close =
        py::module_::import("difflib").attr("get_close_matches")(name, type.attr("_components"), 1);
    if (!close.empty()) {
        text += "; did you mean '" + std::string(py::str(close[0])) + "'?";
    }
    throw py::type_error(text);
}

}  // namespace

void addComponents(py::handle type, KrXmlObject& prototype, ElementChanged changed) {
    py::list names;
    if (changed) {
        changes().emplace(typeid(prototype).name(), changed);
    }
    if (auto* const element = dynamic_cast<KrXmlCompoundType*>(&prototype)) {
        py::object const property =
            py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(&PyProperty_Type));
        element->xmlInit();
        for (auto* const map : {&element->componentMap(), &element->attributeComponentMap()}) {
            for (auto const& entry : *map) {
                std::string const name = snakeCase(entry.token.localName());
                names.append(name);
                py::cpp_function const get(
                    [name](KrXmlObject& self) {
                        return componentToPython(existingComponent(self, name), name);
                    },
                    py::name(name.c_str()), py::is_method(type));
                py::cpp_function const set(
                    [name](KrXmlObject& self, py::handle value) {
                        checkChangeable(self);
                        componentFromPython(existingComponent(self, name), value, name);
                        noteChange(self);
                    },
                    py::name(name.c_str()), py::is_method(type), py::call_guard<MessageDelivery>());
                py::setattr(type, name.c_str(), property(get, set));
            }
        }
    }
    py::setattr(type, "_components", py::tuple(names));
}

namespace {

// All or nothing: a value that is refused leaves the element as it is.
void changeComponents(KrXmlObject& element, py::kwargs const& values) {
    checkChangeable(element);
    std::unique_ptr<KrXmlObject> const trial(element.clone());
    setComponents(*trial, values);
    setComponents(element, values);
}

}  // namespace

void addComponent(py::handle type, KrXmlObject const& prototype, std::string const& name,
                  py::object (*get)(KrXmlObject const& element),
                  void (*set)(KrXmlObject& element, py::handle value), char const* doc) {
    otherComponents().push_back({typeid(prototype).name(), name, set});
    py::cpp_function const getValue(get, py::name(name.c_str()), py::is_method(type));
    py::cpp_function const setValue(
        [name](KrXmlObject& self, py::object const& value) {
            changeComponents(self, py::kwargs(py::dict(py::arg(name.c_str()) = value)));
        },
        py::name(name.c_str()), py::is_method(type), py::call_guard<MessageDelivery>());
    py::object const property =
        py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(&PyProperty_Type));
    py::setattr(type, name.c_str(), property(getValue, setValue, py::none(), doc));
    py::setattr(type, "_components", py::object(type.attr("_components")) + py::make_tuple(name));
}

void setComponents(KrXmlObject& element, py::kwargs const& values) {
    for (auto const& [key, value] : values) {
        std::string const name = py::str(key);
        if (OtherComponent const* const other = findOther(element, name)) {
            other->set(element, value);
            continue;
        }
        auto* const parent = dynamic_cast<KrXmlCompoundType*>(&element);
        // A container, or a vector, is its only component.
        bool const isOwn = !parent && (name == "element" || name == "elements");
        KrXmlObject* const component = parent  ? findComponent(*parent, name)
                                       : isOwn ? &element
                                               : nullptr;
        if (!component) {
            throwUnknown(element, name);
        }
        componentFromPython(*component, value, name);
    }
    noteChange(element);
}

void construct(KrXmlObject& element, py::args const& positional, py::kwargs const& values) {
    if (positional.empty()) {
        setComponents(element, values);
        return;
    }
    py::object const type = typeOf(element);
    py::tuple const names = type.attr("_components");
    std::string const first = py::str(names[0]);
    if (names.size() > 1 || positional.size() > 1 || !values.empty()) {
        std::string const name = py::str(type.attr("__name__"));
        // As scipy.optimize.minimize calls a `method`.
        if (values.contains("hessp")) {
            throw py::type_error("method: expected an object, such as " + name +
                                 "(), got the class");
        }
        throwType(name, names.size() > 1 ? "keywords, such as " + first + "=" : "one argument",
                  positional);
    }
    setComponents(element, py::kwargs(py::dict(py::arg(first.c_str()) = positional[0])));
}

namespace {

// --- What a class derives from its components.

void derive(KrXmlObject& element) {
    // A setter derives what depends on the components.
    if (auto* const map = dynamic_cast<KrSCurveUnitaryMap*>(&element)) {
        map->setCenter(map->center());
    } else if (auto* const axis = dynamic_cast<KrTableFunctionVectorSearch*>(&element)) {
        axis->init();
    } else if (auto* const table = dynamic_cast<KrTableFunctionInterpolator*>(&element)) {
        table->init();
        prepareBoxes(*table);
    } else if (auto* const branch = dynamic_cast<KrCompositeFunctionBranch*>(&element)) {
        // A lone child has no box, so that no point would reach it.
        if (!branch->left() != !branch->right()) {
            throwValue(branch->left() ? "right" : "left",
                       "missing; a branch has two children or none, which set_params sets at once");
        }
        prepareBoxes(*branch);
    } else if (auto* const composite = dynamic_cast<KrCompositeFunctionContainer*>(&element)) {
        if (!composite->topElement()) {
            *composite = KrCompositeFunctionContainer();  // without the boxes of an earlier element
        }
    } else if (auto* const rule = dynamic_cast<KrGaussQuadrature*>(&element)) {
        checkQuadrature(*rule);
    }
}

// --- Containers and vectors, which documents have as roots.

template <class T>
void bindContainer(py::module_& module, char const* name) {
    auto type = bindElement<T, KrXmlObject>(module, name, derive);
    type.def_property(
        "element", [](T const& self) { return componentToPython(self, "element"); },
        [](T& self, py::handle value) {
            checkChangeable(self);
            componentFromPython(self, value, "element");
            noteChange(self);
        },
        "What the container has, a copy that is read-only; None if it is empty. Default: None.");
    type.attr("_components") = py::make_tuple("element");
}

template <class T>
void bindVector(py::module_& module, char const* name) {
    auto type = bindElement<T, KrXmlObject>(module, name);
    type.def_property(
        "elements", [](T const& self) { return componentToPython(self, "elements"); },
        [](T& self, py::handle value) {
            checkChangeable(self);
            componentFromPython(self, value, "elements");
        },
        "A tuple of the elements, copies that are read-only. Default: empty.");
    type.def("__len__", [](T const& self) { return self.size(); });
    type.def("__getitem__", [](T const& self, py::object const& index) {
        return py::object(componentToPython(self, "elements")[index]);
    });
    type.attr("_components") = py::make_tuple("elements");
}

template <class T, class Base>
void bindFamily(py::module_& module, char const* name, char const* doc) {
    ElementClass<T, Base> const type(module, name, doc);
}

}  // namespace

void bindElements(py::module_& module) {
    ElementBase element(
        module, "Element",
        "An object of the library that XML documents describe. Base class of all elements.\n\n"
        "Components are keywords of the constructor, and properties. Elements are equal if all "
        "components are. Copies and pickles are of the library's class, also those of a subclass "
        "in Python.");
    element
        .def("_equals",
             [](KrXmlObject const& self, KrXmlObject const& other) {
                 return typeid(self) == typeid(other) && self.equality(&other);
             })
        .def("_clone",
             [](KrXmlObject const& self) {
                 return elementToPython(std::unique_ptr<KrXmlObject>(self.clone()));
             })
        .def("_check_changeable", [](KrXmlObject const& self) { checkChangeable(self); })
        .def(
            "_set",
            [](KrXmlObject& self, py::kwargs const& values) { changeComponents(self, values); },
            py::call_guard<MessageDelivery>())
        .def_property_readonly(
            "_tag", [](KrXmlObject const& self) { return std::string(self.token().localName()); });
    bindDocuments(module, element);

    bindFamily<KrScalarMultivariableOptimizer, KrXmlObject>(
        module, "Optimizer",
        "Searches for a minimum of a function of several variables. `minimize` and `Search` take "
        "one, and `scipy.optimize.minimize` takes it as `method`. Base class of the optimizers.");
    bindFamily<KrBaseScalarFunction, KrXmlObject>(
        module, "ScalarFunction", "A function of one number. Base class of the scalar functions.");
    bindFamily<KrBaseUnitaryMap, KrXmlObject>(
        module, "UnitaryMap",
        "A function that maps 0 to 0 and 1 to 1. Base class of the unitary maps.");
    bindFamily<KrBaseMultivariableConstraint, KrXmlObject>(
        module, "Constraint",
        "A function c of several variables: a point is feasible where c(x) <= 0. Base class of the "
        "constraints.");
    bindFamily<KrCompositeFunctionElement, KrXmlObject>(
        module, "CompositeFunctionElement",
        "A part of a composite function. Base class of tables and branches.");

    using Optimizer = KrScalarMultivariableOptimizer;
    bindElement<KrNelderMeadOptimizer, Optimizer>(module, "NelderMead");
    bindElement<KrHookeJeevesOptimizer, Optimizer>(module, "HookeJeeves");
    bindElement<KrMultidirectionalSearchOptimizer, Optimizer>(module, "MultidirectionalSearch");
    bindElement<KrImplicitFilteringOptimizer, Optimizer>(module, "ImplicitFiltering");
    bindElement<KrSequenceOptimizer, Optimizer>(module, "Sequence");

    bindElement<KrLinearScalarFunction, KrBaseScalarFunction>(module, "LinearScalarFunction");
    bindElement<KrMultipointScalarFunction, KrBaseScalarFunction>(module,
                                                                  "MultipointScalarFunction");
    bindElement<KrPowerUnitaryMap, KrBaseUnitaryMap>(module, "PowerUnitaryMap");
    bindElement<KrSCurveUnitaryMap, KrBaseUnitaryMap>(module, "SCurveUnitaryMap", derive);

    using Constraint = KrBaseMultivariableConstraint;
    bindElement<KrLinearMultivariableConstraint, Constraint>(module, "LinearConstraint");
    bindElement<KrQuadraticMultivariableConstraint, Constraint>(module, "QuadraticConstraint");

    bindElement<KrTableFunctionVectorSearch, KrXmlObject>(module, "TableAxis", derive);
    bindElement<KrTableFunctionInterpolator, KrCompositeFunctionElement>(module, "Table", derive);
    bindElement<KrCompositeFunctionBranch, KrCompositeFunctionElement>(module, "CompositeBranch",
                                                                       derive);
    bindElement<KrGaussQuadrature, KrXmlObject>(module, "GaussQuadrature", derive);

    bindElement<KrSearchVariable, KrXmlObject>(module, "Variable");
    bindElement<KrSearch, KrXmlObject>(module, "Search");
    bindElement<KrSearchReport, KrXmlObject>(module, "SearchReport");

    bindContainer<KrScalarMultivariableOptimizerContainer>(module, "OptimizerContainer");
    bindContainer<KrScalarFunctionContainer>(module, "ScalarFunctionContainer");
    bindContainer<KrUnitaryMapContainer>(module, "UnitaryMapContainer");
    bindContainer<KrMultivariableConstraintContainer>(module, "ConstraintContainer");
    bindContainer<KrCompositeFunctionContainer>(module, "CompositeFunction");
    bindVector<KrScalarMultivariableOptimizerVector>(module, "Optimizers");
    bindVector<KrMultivariableConstraintVector>(module, "Constraints");
    bindVector<KrSearchVariableVector>(module, "Variables");
}
