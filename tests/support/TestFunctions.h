#pragma once

#include "function/multivariable/KrScalarMultivariableFunction.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// A function given by its dimension and a callable on the point.
class TestFunction : public KrScalarMultivariableFunction {
public:
    using Formula = std::function<double(KrRealVector const& x, KrU32 n)>;

    TestFunction(KrU32 n, Formula formula) : n_(n), formula_(std::move(formula)) {}
    double evaluate(KrRealVector const& x) const override { return formula_(x, n_); }
    KrU32 domainDim() const override { return n_; }

private:
    KrU32 n_;
    Formula formula_;
};

/// Every point that a search evaluated, in order, with its value.
struct Evaluation {
    bool inBatch;
    KrRealVector point;
    double value;
};

/// Passes on to another function and records each evaluation.
class RecordingFunction : public KrScalarMultivariableFunction {
public:
    explicit RecordingFunction(KrScalarMultivariableFunction const& f) : f_(f) {}
    double evaluate(KrRealVector const& x) const override {
        evaluations.push_back({false, x, f_.evaluate(x)});
        return evaluations.back().value;
    }
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        values.clear();
        for (KrRealVector const& point : points) {
            evaluations.push_back({true, point, f_.evaluate(point)});
            values.push_back(evaluations.back().value);
        }
    }
    KrU32 domainDim() const override { return f_.domainDim(); }

    mutable std::vector<Evaluation> evaluations;

private:
    KrScalarMultivariableFunction const& f_;
};

double rosenbrock(KrRealVector const& x, KrU32 n);
double sphere(KrRealVector const& x, KrU32 n);

/// A function by its name and parameter: "powell:MULTIPLIER", or "rosenbrock:N",
/// "sphere:N", "nan:N" (the sphere, but NaN where x0 > 1.5), "plateau:N" (steps of
/// a sphere), "constant:N", "linear0:N"; null for another name.
std::unique_ptr<KrScalarMultivariableFunction> functionByName(std::string const& name);
