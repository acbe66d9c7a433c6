#include "search/KrSearchCreators.h"

#include "function/object/KrCreators.h"
#include "search/KrSearch.h"

KR_SOURCE_VERSION;

KrXmlFactory KrSearchCreators::factory() {
    KrXmlFactory all = KrCreators::factory();
    all.registerCreator(KrSearchNames::KrSearchToken, KrSearch::creator);
    all.registerCreator(KrSearchNames::KrSearchReportToken, KrSearchReport::creator);
    all.registerCreator(KrSearchNames::KrVariableToken, KrSearchVariable::creator);
    all.registerCreator(KrSearchNames::KrVariablesToken, KrSearchVariableVector::creator);
    return all;
}
