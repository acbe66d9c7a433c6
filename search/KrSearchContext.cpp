#include "search/KrSearchContext.h"

KR_SOURCE_VERSION;

KrSearchObserver::~KrSearchObserver() = default;
