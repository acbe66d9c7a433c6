#pragma once

#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrXmlFactory.h"
#include "foundation/xml/KrXmlObject.h"

#include <string>

/// The library's factory.
KrXmlFactory const& everyElement();

/// What the object answers when it is put to use: a function at a few points, an
/// optimizer on Powell's function, which ends the search after some evaluations
/// whatever the budget. Seeds the random numbers before.
KrRealVector run(KrXmlObject& object);

/// Whatever a document has made of a fresh `object`, it writes, reads back, clones,
/// compares and runs. Empty when it does, else what it does not. `wasRead` tells
/// whether the document was read without a refusal.
std::string whatFails(KrXmlObject& object, bool wasRead);
