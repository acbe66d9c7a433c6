#pragma once

#include "function/multivariable/KrScalarMultivariableFunction.h"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <unistd.h>
#include <functional>
#include <type_traits>
#include <vector>

// How C++ code of long duration and Python functions call each other.
//
// A search releases the GIL between two calls of the function. To release it and take it back costs
// 15 to 20 ns, as long as a step of two unknowns takes.

/// Calls Python from a thread that may be a daemon. After the interpreter has ended, Python ends
/// such a thread when it next takes the GIL, by an unwinding that would release references. Here it
/// waits for the end of the process instead, as in later versions of Python. A destructor waits,
/// since a handler for this unwinding ends the process if another exception is handled meanwhile.
/// So `call` must not throw, and must not have objects whose destructors release references: use
/// the C functions of Python.
template <class Call>
auto callPython(Call const& call) {
    struct Stay {
        bool isBack = false;
        ~Stay() {
            while (!isBack) {
                pause();
            }
        }
    } stay;
    if constexpr (std::is_void_v<decltype(call())>) {
        call();
        stay.isBack = true;
    } else {
        auto const result = call();
        stay.isBack = true;
        return result;
    }
}

/// Releases the GIL while it lives, if `releases` is true.
class GilRelease {
public:
    explicit GilRelease(bool releases = true) : state_(releases ? PyEval_SaveThread() : nullptr) {}
    ~GilRelease() { take(); }
    GilRelease(GilRelease const&) = delete;
    GilRelease& operator=(GilRelease const&) = delete;

    /// Takes the GIL back for a call of Python, on the same thread.
    class Pause {
    public:
        explicit Pause(GilRelease& release) : release_(release), isReleased_(release.state_) {
            release_.take();
        }
        ~Pause() {
            if (isReleased_) {
                release_.state_ = PyEval_SaveThread();
            }
        }
        Pause(Pause const&) = delete;
        Pause& operator=(Pause const&) = delete;

    private:
        GilRelease& release_;
        bool const isReleased_;
    };

private:
    void take() {
        if (state_) {
            PyThreadState* const state = state_;
            state_ = nullptr;
            callPython([state] { PyEval_RestoreThread(state); });
        }
    }

    PyThreadState* state_;
};

/// An array of doubles that is handed to Python functions, one call after the other. It is used
/// again only while nobody else has a reference to it, or to a view of it.
class ArgumentArray {
public:
    /// An array of `rows` times `columns` doubles, or of `columns` doubles if `rows` is 0. The
    /// reference is borrowed, and the values are those of an earlier call.
    PyObject* get(std::size_t rows, std::size_t columns);
    /// The values of the array that `get` returned.
    double* data() { return data_; }

private:
    bool isReusable(std::size_t rows, std::size_t columns) const;

    pybind11::object array_;
    double* data_ = nullptr;
};

/// A Python function f(x, *args) of a point, an array of shape (n,). Its exceptions pass through as
/// `pybind11::error_already_set`. A `zeibreku.EvaluationFailure` becomes a `KrEvaluationFailure`.
class PythonFunction : public KrScalarMultivariableFunction {
public:
    /// `begin` is called before the first evaluation. The GIL is held, or released by `release`.
    PythonFunction(pybind11::object function, pybind11::tuple const& arguments,
                   std::size_t dimension, GilRelease& release, std::function<void()> begin);

    double evaluate(KrRealVector const& x) const override;
    KrU32 domainDim() const override { return static_cast<KrU32>(dimension_); }

protected:
    /// Calls the function with an array of `ArgumentArray`. The result is a new reference.
    PyObject* call(PyObject* array) const;
    GilRelease& release() const { return release_; }
    ArgumentArray& argument() const { return argument_; }

private:
    pybind11::object const function_;
    std::size_t const dimension_;
    GilRelease& release_;
    mutable std::function<void()> begin_;
    mutable ArgumentArray argument_;
    mutable std::vector<pybind11::object> arguments_;
    mutable std::vector<PyObject*> stack_;  // of a call: a free place, the array, the arguments
};

/// A Python function f(x, *args) of m points at once, an array of shape (m, n), with an array of
/// shape (m,) as result.
class VectorizedFunction : public PythonFunction {
public:
    using PythonFunction::PythonFunction;

    double evaluate(KrRealVector const& x) const override;
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override;
};

/// Throws the Python exception that is set: `KrEvaluationFailure` if it is an `EvaluationFailure`.
[[noreturn]] void throwPythonError();

/// The text of a Python exception.
std::string exceptionText(pybind11::handle exception);

/// The class `zeibreku.EvaluationFailure`.
pybind11::handle evaluationFailure();
