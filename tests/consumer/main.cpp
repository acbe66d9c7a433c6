// A client as small as can be: it makes an optimizer, takes it through XML and runs it, also on
// threads. It has globals that use the library, before main and after it.
#include "foundation/xml/KrXml.h"
#include "function/multivariable/KrPowellsQuarticFunction.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "search/KrParallelFunction.h"

#include <cstdlib>
#include <iostream>

KrToken const own = KrFunction::KrNelderMeadToken + "OfMine";

struct BeforeMain {
    BeforeMain() {
        container.setTopElement(KrNelderMeadOptimizer());
        text = KrXml::toString(container);
    }
    ~BeforeMain() {
        if (KrXml::toString(container) != text) {
            std::abort();
        }
    }
    KrScalarMultivariableOptimizerContainer container;
    std::string text;
} const beforeMain;

int main() {
    KrScalarMultivariableOptimizerContainer written;
    written.setTopElement(KrNelderMeadOptimizer());

    KrScalarMultivariableOptimizerContainer copy;
    bool same = KrXml::fromString(KrXml::toString(written), copy) && copy == written;

    KrPowellsQuarticFunction quartic;
    KrRealVector best;
    double const lowest = copy.findMinimum(quartic, KrRealVector{3, -1, 0, 1}, best);
    KrParallelFunction const parallel({&quartic});
    same = same && written.findMinimum(parallel, KrRealVector{3, -1, 0, 1}, best) == lowest;

    std::cout << "read back " << (same ? "equal" : "different") << ", minimum " << lowest << '\n';
    // 215 is the value at the start.
    same = same && written == beforeMain.container && own.localName() == "nelderMeadOfMine";
    return same && best.size() == 4 && lowest < 215 ? 0 : 1;
}
