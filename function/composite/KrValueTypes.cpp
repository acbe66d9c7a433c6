#include "function/composite/KrValueTypes.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

template class KrXmlVectorType<KrXmlBasicType<std::string>>;
template class KrXmlPairType<KrXmlBasicType<KrU32>, KrXmlBasicType<std::string>>;
template class KrXmlPairType<KrValueTypes::IndexedName, KrScalarFunctionContainer>;
template class KrXmlVectorType<KrValueTypes::NamedFunction>;
template class KrXmlVectorType<KrValueTypes::NamedFunctionVector>;
