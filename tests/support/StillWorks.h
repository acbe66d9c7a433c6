#pragma once

#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrXmlFactory.h"
#include "foundation/xml/KrXmlObject.h"

#include <string>

/// The library's factory.
KrXmlFactory const& everyElement();

/// The values of a function at a few points, or of an optimizer's search on Powell's
/// function, which ends after some evaluations whatever the budget. Seeds the random numbers.
KrRealVector run(KrXmlObject& object);

/// Writes, reads back, clones, compares and runs `object`, which some document has set.
/// Returns what fails, or an empty text. `wasRead`: the document was read without a refusal.
std::string whatFails(KrXmlObject& object, bool wasRead);
