#pragma once

#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlPairType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/object/KrScalarFunctionContainer.h"

/// Value types for elements of your own, compiled once and exported. They are instantiations
/// of `KrXmlVectorType` and `KrXmlPairType`, which document their form in XML. No element of
/// the library uses those with scalar functions.
namespace KrValueTypes {

/// A list of texts.
using TextVector = KrXmlVectorType<KrXmlBasicType<std::string>>;

/// An index with a name.
using IndexedName = KrXmlPairType<KrXmlBasicType<KrU32>, KrXmlBasicType<std::string>>;

/// A scalar function with an index and a name.
///
///     <item>
///       <first><first>3</first><second>drag</second></first>
///       <second><linearScalarFunction> ... </linearScalarFunction></second>
///     </item>
using NamedFunction = KrXmlPairType<IndexedName, KrScalarFunctionContainer>;

/// A list of scalar functions, each with its index and name.
using NamedFunctionVector = KrXmlVectorType<NamedFunction>;
/// A list of such lists.
using NamedFunctionVectors = KrXmlVectorType<NamedFunctionVector>;

}  // namespace KrValueTypes

extern template class KrXmlVectorType<KrXmlBasicType<std::string>>;
extern template class KrXmlPairType<KrXmlBasicType<KrU32>, KrXmlBasicType<std::string>>;
extern template class KrXmlPairType<KrValueTypes::IndexedName, KrScalarFunctionContainer>;
extern template class KrXmlVectorType<KrValueTypes::NamedFunction>;
extern template class KrXmlVectorType<KrValueTypes::NamedFunctionVector>;
