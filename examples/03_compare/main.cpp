// Compares the optimizers of a sequence: each alone, all in turn as a chain, and all from
// one start as a tournament:
//
//   03_compare SEQUENCE.xml
//
// For each of two functions a table shows the lowest value, the number of evaluations, and
// the share of them in batches. A function may evaluate a batch in parallel.

#include "foundation/xml/KrXml.h"
#include "function/multivariable/KrPowellsQuarticFunction.h"
#include "function/optimizer/KrSequenceOptimizer.h"

#include <cstdio>
#include <string>

namespace {

/// 100 (y - x²)² + (1 - x)²: a curved valley with its minimum 0 at (1, 1).
class Rosenbrock : public KrScalarMultivariableFunction {
public:
    double evaluate(KrRealVector const& x) const override {
        double const valley = x[1] - x[0] * x[0];
        double const along = 1.0 - x[0];
        return 100.0 * valley * valley + along * along;
    }
    KrU32 domainDim() const override { return 2; }
};

/// Forwards evaluations to a function and counts them.
class Counted : public KrScalarMultivariableFunction {
public:
    explicit Counted(KrScalarMultivariableFunction const& f) : f_(f) {}
    double evaluate(KrRealVector const& x) const override {
        ++single_;
        return f_.evaluate(x);
    }
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        batched_ += points.size();
        f_.evaluateMultiple(points, values);
    }
    KrU32 domainDim() const override { return f_.domainDim(); }

    std::size_t evaluations() const { return single_ + batched_; }
    double batchedShare() const {
        return evaluations() == 0
                   ? 0.0
                   : static_cast<double>(batched_) / static_cast<double>(evaluations());
    }

private:
    KrScalarMultivariableFunction const& f_;
    mutable std::size_t single_ = 0;
    mutable std::size_t batched_ = 0;
};

void printRow(std::string const& name, KrScalarMultivariableOptimizer const& optimizer,
              KrScalarMultivariableFunction const& f, KrRealVector const& start) {
    Counted const counted(f);
    KrRealVector point;
    double const value = optimizer.findMinimum(counted, start, point);
    std::printf("%-24s %12.3e %12zu %11.0f%%\n", name.c_str(), value, counted.evaluations(),
                100.0 * counted.batchedShare());
}

void printTable(char const* title, KrSequenceOptimizer const& sequence,
                KrScalarMultivariableFunction const& f, KrRealVector const& start) {
    std::printf("%s\n%-24s %12s %12s %12s\n", title, "optimizer", "value", "evaluations",
                "in batches");
    KrScalarMultivariableOptimizerVector const& optimizers = sequence.optimizerSequence();
    for (KrU32 i = 0; i < optimizers.size(); ++i) {
        printRow(std::string(optimizers[i].token().localName()), optimizers[i], f, start);
    }
    KrSequenceOptimizer inOneMode(sequence);
    inOneMode.setExecuteInParallel(false);
    printRow("all, as a chain", inOneMode, f, start);
    inOneMode.setExecuteInParallel(true);
    printRow("all, as a tournament", inOneMode, f, start);
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "03_compare: expected SEQUENCE.xml\n");
        return 1;
    }
    KrSequenceOptimizer sequence;
    if (!KrXml::readFile(argv[1], sequence)) {
        return 1;  // the library has printed the fault and its position
    }
    printTable("Powell's quartic from (3, -1, 0, 1)", sequence, KrPowellsQuarticFunction(),
               {3.0, -1.0, 0.0, 1.0});
    printTable("Rosenbrock's valley from (-1.2, 1)", sequence, Rosenbrock(), {-1.2, 1.0});
    return 0;
}
