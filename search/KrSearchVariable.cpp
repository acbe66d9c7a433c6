#include "search/KrSearchVariable.h"

KR_SOURCE_VERSION;

void KrSearchVariable::registerComponents() {
    registerComponent(KrSearchNames::KrNameToken, &name_);
    registerComponent(KrSearchNames::KrStartToken, &start_);
    registerComponent(KrSearchNames::KrLowerToken, &lower_);
    registerComponent(KrSearchNames::KrUpperToken, &upper_);
    registerComponent(KrSearchNames::KrScaleToken, &scale_);
}
