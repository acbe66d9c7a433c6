#include "function/object/KrValueTypes.h"

KR_SOURCE_VERSION;

template class KrXmlVectorType<KrXmlBasicType<std::string>>;
template class KrXmlPairType<KrXmlBasicType<KrU32>, KrXmlBasicType<std::string>>;
template class KrXmlPairType<KrValueTypes::IndexedName, KrScalarFunctionContainer>;
template class KrXmlVectorType<KrValueTypes::NamedFunction>;
template class KrXmlVectorType<KrValueTypes::NamedFunctionVector>;
