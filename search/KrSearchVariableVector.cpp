#include "search/KrSearchVariableVector.h"

KR_SOURCE_VERSION;

void KrSearchVariableVector::registerComponentCreators() {
    registerComponentCreator(KrSearchNames::KrVariableToken, KrSearchVariable::creator);
}
