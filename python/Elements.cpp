#include "python/Element.h"

#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlEnumType.h"
#include "foundation/xml/KrXmlPairType.h"
#include "foundation/xml/KrXmlWriter.h"
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
#include "python/Arrays.h"
#include "python/Calls.h"
#include "python/Tools.h"
#include "search/KrSearch.h"
#include "search/KrSearchCreators.h"

#include <pybind11/numpy.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <ostream>
#include <span>
#include <streambuf>
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

// --- Exceptions that name the argument.

std::string shortRepr(py::handle value) {
    std::string text = py::str(py::repr(value));
    constexpr std::size_t most = 60;
    if (text.size() > most) {
        std::size_t end = most;
        while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80U) {
            --end;  // not inside of a character
        }
        text = text.substr(0, end) + "...";
    }
    return text;
}

std::string typeName(py::handle value) {
    return py::str(py::type::handle_of(value).attr("__name__"));
}

// --- The kinds of components. Each `Kind` converts one C++ type of component.

bool isOf(KrXmlObject const& object, auto const*& found) {
    found = dynamic_cast<std::remove_reference_t<decltype(found)>>(&object);
    return found != nullptr;
}

KrU32 countFrom(py::handle value, std::string const& name) {
    auto const index = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    if (!index) {
        PyErr_Clear();
        throwType(name, "an integer", value);
    }
    unsigned long long const number = PyLong_AsUnsignedLongLong(index.ptr());
    bool const isBad = PyErr_Occurred() != nullptr;
    PyErr_Clear();
    if (isBad || number > std::numeric_limits<KrU32>::max()) {
        throwValue(name, "expected an integer from 0 to 4294967295, got " + shortRepr(value));
    }
    return static_cast<KrU32>(number);
}

bool flagFrom(py::handle value, std::string const& name) {
    bool const isFlag = PyBool_Check(value.ptr()) || typeName(value) == "bool_";
    if (!isFlag) {
        throwType(name, "True or False", value);
    }
    return PyObject_IsTrue(value.ptr()) == 1;
}

std::string textFrom(py::handle value, std::string const& name) {
    if (!PyUnicode_Check(value.ptr())) {
        throwType(name, "a string", value);
    }
    py::ssize_t size = 0;
    char const* const text = PyUnicode_AsUTF8AndSize(value.ptr(), &size);
    if (!text) {
        PyErr_Clear();
        throwValue(name, "expected text that has a UTF-8 form, got " + shortRepr(value));
    }
    return {text, static_cast<std::size_t>(size)};
}

// An array of numbers of the given dimension; `T` is double or KrU32.
template <class T>
py::array_t<T, py::array::c_style | py::array::forcecast> arrayFrom(py::handle value,
                                                                    py::ssize_t dimension,
                                                                    std::string const& name) {
    auto const array = numberArray(value, name, std::is_same_v<T, double>);
    if (array.ndim() != dimension && !(array.ndim() == 1 && array.size() == 0)) {
        throwValue(name, "expected an array of " + std::to_string(dimension) +
                             " dimension(s), got one of shape " + shapeText(array));
    }
    if constexpr (std::is_same_v<T, KrU32>) {
        if (array.size() > 0 &&
            (array.attr("min")().attr("__lt__")(0).template cast<bool>() ||
             array.attr("max")().attr("__gt__")(4294967295U).template cast<bool>())) {
            throwValue(name, "expected integers from 0 to 4294967295, got " + shortRepr(value));
        }
    }
    return py::array_t<T, py::array::c_style | py::array::forcecast>::ensure(array);
}

template <class T>
py::array arrayOf(KrXmlVectorType<KrXmlBasicType<T>> const& list) {
    py::array_t<T> array(static_cast<py::ssize_t>(list.size()));
    std::ranges::copy(list, array.mutable_data());
    return readOnly(std::move(array));
}

template <class T>
void setArray(KrXmlVectorType<KrXmlBasicType<T>>& list, py::handle value, std::string const& name) {
    auto const array = arrayFrom<T>(value, 1, name);
    KrXmlVectorType<KrXmlBasicType<T>> values;
    values.reserve(static_cast<KrU32>(array.size()));
    for (T const number : std::span(array.data(), static_cast<std::size_t>(array.size()))) {
        values.pushBack(KrXmlBasicType<T>(number));
    }
    list = std::move(values);
}

template <class T>
T const& elementFrom(py::handle value, std::string const& name) {
    if (!py::isinstance<T>(value)) {
        std::string const type = py::str(py::type::of<T>().attr("__name__"));
        bool const isVowel = type.find_first_of("AEIO") == 0;
        throwType(name, (isVowel ? "an " : "a ") + type, value);
    }
    return value.cast<T const&>();
}

py::list listFrom(py::handle value, std::string const& name, std::string const& expected) {
    if (PyUnicode_Check(value.ptr()) || py::isinstance<KrXmlObject>(value)) {
        throwType(name, expected, value);
    }
    auto const items = py::reinterpret_steal<py::object>(PyObject_GetIter(value.ptr()));
    if (!items) {
        PyErr_Clear();
        throwType(name, expected, value);
    }
    auto list = py::reinterpret_steal<py::list>(PySequence_List(items.ptr()));
    return list ? list : throw py::error_already_set();  // that of a generator
}

std::string itemName(std::string const& name, std::size_t index) {
    return name + '[' + std::to_string(index) + ']';
}

// The text of an enumeration without its namespace.
std::string localText(std::string const& text) { return std::string(KrToken(text).localName()); }

using Enumeration = KrXmlEnumType<unsigned short>;
using WideEnumeration = KrXmlEnumType<KrU32>;
using IndexPair = KrXmlPairType<KrXmlBasicType<KrU32>, KrXmlBasicType<KrU32>>;
using IndexPairs = KrXmlVectorType<IndexPair>;
using Texts = KrXmlVectorType<KrXmlBasicType<std::string>>;
using Axes = KrXmlVectorType<KrTableFunctionVectorSearch>;
using Tables = KrXmlVectorType<KrXmlRealVector>;

template <class T>
py::object enumToPython(KrXmlEnumType<T> const& component) {
    for (auto const& [value, text] : component.enumStrings()) {
        if (value == component.value()) {
            return py::str(localText(text));
        }
    }
    return py::int_(component.value());
}

template <class T>
void enumFromPython(KrXmlEnumType<T>& component, py::handle value, std::string const& name) {
    std::string const text = textFrom(value, name);
    std::string known;
    for (auto const& [number, ownText] : component.enumStrings()) {
        if (text == ownText || text == localText(ownText)) {
            component = number;
            return;
        }
        known += (known.empty() ? "'" : ", '") + localText(ownText) + '\'';
    }
    throwValue(name, "expected one of " + known + ", got " + shortRepr(value));
}

// A container or a vector of elements with the base `T`; tried for each family of elements.
template <class T>
bool familyToPython(KrXmlObject const& component, std::string const& name, py::object& value) {
    if (KrBaseExpressionTreeContainer<T> const* container; isOf(component, container)) {
        value = container->topElement() ? partOf(*container->topElement(), name) : py::none();
        return true;
    }
    if (KrXmlVariableVectorType<T> const* vector; isOf(component, vector)) {
        py::list list;
        for (T const* const element : vector->vectorContainer()) {
            list.append(element ? partOf(*element, name) : py::none());
        }
        value = py::tuple(list);
        return true;
    }
    return false;
}

template <class T>
bool familyFromPython(KrXmlObject& component, py::handle value, std::string const& name) {
    if (auto* const container = dynamic_cast<KrBaseExpressionTreeContainer<T>*>(&component)) {
        if (value.is_none()) {
            container->setAndDeleteTopElementPointer(nullptr);
        } else {
            container->setTopElement(elementFrom<T>(value, name));
        }
        return true;
    }
    if (auto* const vector = dynamic_cast<KrXmlVariableVectorType<T>*>(&component)) {
        py::list const list = listFrom(value, name, "a list of elements");
        for (std::size_t i = 0; i < list.size(); ++i) {
            elementFrom<T>(list[i], itemName(name, i));
        }
        // Copies first: the vector may be a part of an element that it gets.
        std::vector<std::unique_ptr<KrXmlObject>> copies;
        for (py::handle const element : list) {
            copies.emplace_back(element.cast<T const&>().clone());
        }
        vector->clear();
        for (auto const& copy : copies) {
            vector->pushBack(dynamic_cast<T const&>(*copy));
        }
        return true;
    }
    return false;
}

template <class... Families>
struct FamilyList {
    static bool toPython(KrXmlObject const& component, std::string const& name, py::object& value) {
        return (familyToPython<Families>(component, name, value) || ...);
    }
    static bool fromPython(KrXmlObject& component, py::handle value, std::string const& name) {
        return (familyFromPython<Families>(component, value, name) || ...);
    }
};

using Families =
    FamilyList<KrScalarMultivariableOptimizer, KrBaseMultivariableConstraint, KrBaseScalarFunction,
               KrBaseUnitaryMap, KrCompositeFunctionElement, KrSearchVariable>;

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

void throwType(std::string const& name, std::string const& expected, py::handle value) {
    throw py::type_error(name + ": expected " + expected + ", got " + shortRepr(value));
}

void throwValue(std::string const& name, std::string const& text) {
    throw py::value_error(name + ": " + text);
}

double realFrom(py::handle value, std::string const& name, char const* expected) {
    if (PyFloat_Check(value.ptr())) {
        return PyFloat_AS_DOUBLE(value.ptr());
    }
    // numpy converts complex numbers and texts.
    if (!PyLong_Check(value.ptr()) && py::hasattr(value, "dtype")) {
        py::object const kind = py::getattr(value.attr("dtype"), "kind", py::none());
        if (PyUnicode_Check(kind.ptr()) && !py::str("fiub").contains(kind)) {
            throwType(name, expected, value);
        }
    }
    double const number = PyFloat_AsDouble(value.ptr());
    if (number == -1.0 && PyErr_Occurred()) {
        bool const isRange = PyErr_ExceptionMatches(PyExc_OverflowError);
        if (!isRange && !PyErr_ExceptionMatches(PyExc_TypeError)) {
            throw py::error_already_set();  // that of a method __float__
        }
        PyErr_Clear();
        if (isRange) {
            throwValue(name, shortRepr(value) + " is too large for a double");
        }
        throwType(name, expected, value);
    }
    return number;
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

py::object componentToPython(KrXmlObject const& component, std::string const& name) {
    if (KrXmlBasicType<double> const* real; isOf(component, real)) {
        return py::float_(real->value());
    }
    if (KrXmlBasicType<KrU32> const* count; isOf(component, count)) {
        return py::int_(count->value());
    }
    if (KrXmlBasicType<bool> const* flag; isOf(component, flag)) {
        return py::bool_(flag->value());
    }
    if (KrXmlBasicType<std::string> const* text; isOf(component, text)) {
        return py::str(text->value());
    }
    if (Enumeration const* enumeration; isOf(component, enumeration)) {
        return enumToPython(*enumeration);
    }
    if (WideEnumeration const* enumeration; isOf(component, enumeration)) {
        return enumToPython(*enumeration);
    }
    if (KrXmlRealVector const* reals; isOf(component, reals)) {
        return arrayOf(*reals);
    }
    if (KrXmlVectorType<KrXmlBasicType<KrU32>> const* counts; isOf(component, counts)) {
        return arrayOf(*counts);
    }
    if (IndexPairs const* pairs; isOf(component, pairs)) {
        py::array_t<KrU32> array({static_cast<py::ssize_t>(pairs->size()), py::ssize_t{2}});
        KrU32* next = array.mutable_data();
        for (IndexPair const& pair : *pairs) {
            *next++ = pair.first();
            *next++ = pair.second();
        }
        return readOnly(std::move(array));
    }
    if (Texts const* texts; isOf(component, texts)) {
        py::list list;
        for (auto const& text : *texts) {
            list.append(text.value());
        }
        return py::tuple(list);
    }
    if (Tables const* tables; isOf(component, tables)) {
        py::list list;
        for (KrXmlRealVector const& table : *tables) {
            list.append(arrayOf(table));
        }
        return py::tuple(list);
    }
    if (Axes const* axes; isOf(component, axes)) {
        py::list list;
        for (KrTableFunctionVectorSearch const& axis : *axes) {
            list.append(partOf(axis, name));
        }
        return py::tuple(list);
    }
    py::object value;
    if (!Families::toPython(component, name, value)) {
        value = partOf(component, name);
    }
    return value;
}

void componentFromPython(KrXmlObject& component, py::handle value, std::string const& name) {
    if (auto* const real = dynamic_cast<KrXmlBasicType<double>*>(&component)) {
        *real = realFrom(value, name);
    } else if (auto* const count = dynamic_cast<KrXmlBasicType<KrU32>*>(&component)) {
        *count = countFrom(value, name);
    } else if (auto* const flag = dynamic_cast<KrXmlBasicType<bool>*>(&component)) {
        *flag = flagFrom(value, name);
    } else if (auto* const text = dynamic_cast<KrXmlBasicType<std::string>*>(&component)) {
        *text = textFrom(value, name);
    } else if (auto* const enumeration = dynamic_cast<Enumeration*>(&component)) {
        enumFromPython(*enumeration, value, name);
    } else if (auto* const wide = dynamic_cast<WideEnumeration*>(&component)) {
        enumFromPython(*wide, value, name);
    } else if (auto* const reals = dynamic_cast<KrXmlRealVector*>(&component)) {
        setArray(*reals, value, name);
    } else if (auto* const counts =
                   dynamic_cast<KrXmlVectorType<KrXmlBasicType<KrU32>>*>(&component)) {
        setArray(*counts, value, name);
    } else if (auto* const pairs = dynamic_cast<IndexPairs*>(&component)) {
        auto const array = arrayFrom<KrU32>(value, 2, name);
        if (array.size() > 0 && array.shape(1) != 2) {
            throwValue(name,
                       "expected an array of shape (m, 2), got one of shape " + shapeText(array));
        }
        IndexPairs values;
        for (py::ssize_t i = 0; i + 1 < array.size(); i += 2) {
            IndexPair pair;
            pair.setFirst(KrXmlBasicType<KrU32>(array.data()[i]));
            pair.setSecond(KrXmlBasicType<KrU32>(array.data()[i + 1]));
            values.pushBack(pair);
        }
        *pairs = std::move(values);
    } else if (auto* const texts = dynamic_cast<Texts*>(&component)) {
        py::list const list = listFrom(value, name, "a list of strings");
        Texts values;
        for (std::size_t i = 0; i < list.size(); ++i) {
            values.pushBack(KrXmlBasicType<std::string>(textFrom(list[i], itemName(name, i))));
        }
        *texts = std::move(values);
    } else if (auto* const tables = dynamic_cast<Tables*>(&component)) {
        py::list const list = listFrom(value, name, "a list of arrays of numbers");
        Tables values;
        for (std::size_t i = 0; i < list.size(); ++i) {
            KrXmlRealVector table;
            setArray(table, list[i], itemName(name, i));
            values.pushBack(table);
        }
        *tables = std::move(values);
    } else if (auto* const axes = dynamic_cast<Axes*>(&component)) {
        py::list const list = listFrom(value, name, "a list of axes");
        Axes values;
        for (std::size_t i = 0; i < list.size(); ++i) {
            values.pushBack(elementFrom<KrTableFunctionVectorSearch>(list[i], itemName(name, i)));
        }
        *axes = std::move(values);
    } else if (!Families::fromPython(component, value, name)) {
        throwType(name, "a component that Python can set", value);
    }
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

// --- Documents.

// A branch creates its children by its container. As the root of a document it has none, so it gets
// one for all, which is never destroyed.
KrXmlObject* createBranch() {
    static auto const* const home = new KrCompositeFunctionContainer;
    auto* const branch = new KrCompositeFunctionBranch;
    branch->setContainer(home);
    return branch;
}

KrXmlFactory factory() {
    KrXmlFactory all = KrSearchCreators::factory();
    all.registerCreator(KrFunction::KrCompositeFunctionBranchToken, createBranch);
    return all;
}

// Reads a document by `read`: the element and what was printed meanwhile. None if the document was
// refused; the warnings of one that was not go to the logger.
template <class Read>
py::tuple readDocument(Read const& read) {
    std::unique_ptr<KrXmlObject> element;
    py::list texts;
    {
        MessageCollector messages;
        {
            GilRelease const release;
            element = read();
        }
        if (element) {
            messages.pass();
        } else {
            texts = messages.texts();
        }
    }
    return py::make_tuple(element ? elementToPython(std::move(element)) : py::none(), texts);
}

// A stream into a bytes object, which grows in place: a large block of memory is moved to where it
// has room, not copied. If there is no room, the stream fails and MemoryError is set. Text is
// written without the GIL, which is taken to grow.
class BytesBuffer : public std::streambuf {
public:
    BytesBuffer() = default;
    ~BytesBuffer() override { Py_XDECREF(bytes_); }
    BytesBuffer(BytesBuffer const&) = delete;
    BytesBuffer& operator=(BytesBuffer const&) = delete;

    /// The bytes so far, for once. Needs the GIL. Throws the exception that is set.
    py::bytes take() {
        if (!bytes_ || _PyBytes_Resize(&bytes_, size_) != 0) {
            throw py::error_already_set();
        }
        return py::reinterpret_steal<py::bytes>(std::exchange(bytes_, nullptr));
    }

protected:
    std::streamsize xsputn(char const* text, std::streamsize size) override {
        if (bytes_ && PyBytes_GET_SIZE(bytes_) - size_ < size) {
            callPython([&] {
                PyGILState_STATE const state = PyGILState_Ensure();
                _PyBytes_Resize(&bytes_, 2 * (size_ + size));
                PyGILState_Release(state);
            });
        }
        if (!bytes_) {
            return 0;
        }
        std::memcpy(PyBytes_AS_STRING(bytes_) + size_, text, static_cast<std::size_t>(size));
        size_ += size;
        return size;
    }

private:
    PyObject* bytes_ = PyBytes_FromStringAndSize(nullptr, 1 << 10);
    py::ssize_t size_ = 0;
};

[[noreturn]] void throwMessages(MessageCollector const& messages) {
    std::string all;
    for (py::handle const line : messages.texts()) {
        all += (all.empty() ? "" : "\n") + std::string(py::str(line));
    }
    throw py::value_error(all);
}

// Of a copy: without the GIL another thread may change the element.
py::bytes documentOf(KrXmlObject const& element) {
    std::unique_ptr<KrXmlObject> const copy(element.clone());
    MessageCollector messages;
    BytesBuffer buffer;
    bool good = false;
    {
        GilRelease const release;
        std::ostream stream(&buffer);
        KrXmlWriter writer("", stream);
        krXmlWriteElement(writer, copy->token(), *copy);
        good = writer.flush();
    }
    if (!good && !PyErr_Occurred()) {
        throwMessages(messages);
    }
    py::bytes document = buffer.take();
    messages.pass();
    return document;
}

std::string schemaOf(KrXmlObject const& element) {
    MessageCollector messages;
    std::string text = KrXml::schemaToString(element);
    if (text.empty()) {
        throwMessages(messages);
    }
    messages.pass();
    return text;
}

template <class T, class Base>
void bindFamily(py::module_& module, char const* name, char const* doc) {
    ElementClass<T, Base> const type(module, name, doc);
}

}  // namespace

void bindElements(py::module_& module) {
    py::class_<KrXmlObject, ElementHolder<KrXmlObject>> element(
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
            "_tag", [](KrXmlObject const& self) { return std::string(self.token().localName()); })
        .def(
            "to_xml", [](KrXmlObject const& self) { return py::str(documentOf(self)); },
            py::call_guard<MessageDelivery>(),
            "Return the XML document of the element, from which `from_xml` makes an equal one.")
        .def("_to_bytes", &documentOf, py::call_guard<MessageDelivery>())
        .def("_schema", &schemaOf, py::call_guard<MessageDelivery>())
        .def("_write", [](KrXmlObject const& self, std::string const& path) {
            std::unique_ptr<KrXmlObject> const copy(self.clone());
            MessageCollector const messages;
            bool good = false;
            {
                GilRelease const release;
                good = KrXml::writeFile(path, *copy);
            }
            return py::make_tuple(good, messages.texts());
        });

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

    module.def(
        "_read_text",
        [](py::handle value) {
            std::string const text =
                PyBytes_Check(value.ptr()) ? value.cast<std::string>() : textFrom(value, "text");
            return readDocument([&] { return KrXml::fromString(text, factory()); });
        },
        py::call_guard<MessageDelivery>());
    module.def(
        "_read_file",
        [](std::string const& path) {
            return readDocument([&] { return KrXml::readFile(path, factory()); });
        },
        py::call_guard<MessageDelivery>());
    module.def("_schema", [] {
        GilRelease const release;
        return KrXml::schemaToString(KrSearchCreators::factory());
    });
}
