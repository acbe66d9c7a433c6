// What Python sees of one component, by its C++ type.

#include "foundation/xml/KrXmlEnumType.h"
#include "foundation/xml/KrXmlPairType.h"
#include "function/composite/KrTableFunctionInterpolator.h"
#include "function/multivariable/KrBaseMultivariableConstraint.h"
#include "function/optimizer/KrScalarMultivariableOptimizer.h"
#include "function/scalar/KrBaseScalarFunction.h"
#include "function/scalar/KrBaseUnitaryMap.h"
#include "python/Arrays.h"
#include "python/Element.h"
#include "python/Values.h"
#include "search/KrSearch.h"

#include <algorithm>
#include <span>

namespace py = pybind11;

namespace {

bool isOf(KrXmlObject const& object, auto const*& found) {
    found = dynamic_cast<std::remove_reference_t<decltype(found)>>(&object);
    return found != nullptr;
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
        Texts values;
        for (std::string const& item : textsFrom(value, name)) {
            values.pushBack(KrXmlBasicType<std::string>(item));
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
