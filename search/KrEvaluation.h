#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

#include <cstdint>
#include <exception>
#include <limits>
#include <stdexcept>
#include <string>

/// Thrown by a client's function when a point has no value, such as a simulation that does not
/// converge. The search goes on, with `KrSearch::failureValue` in place of the value. If
/// `evaluateMultiple` throws it, each point of the batch is evaluated alone. Any other exception
/// ends the search and reaches the caller of `KrSearch::run`.
class KR_EXPORT KrEvaluationFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    ~KrEvaluationFailure() override;
};

/// A point whose value is wanted.
struct KrEvaluationRequest {
    std::uint64_t ticket = 0;  ///< identifies the evaluation in its record
    KrRealVector point;        ///< where, in physical coordinates
};

/// The result of a request.
struct KrEvaluation {
    /// How the evaluation ended.
    enum class Outcome {
        Value,      ///< `value` is the function's, perhaps NaN or infinite
        Failure,    ///< the point has no value; `text` is the reason
        Exception,  ///< `exception` goes to the caller of the search
        Broken,     ///< the evaluation cannot be made at all; `text` is the reason
        Cancelled   ///< ended before it had a value
    };

    std::uint64_t ticket = 0;                                 ///< of the request
    Outcome outcome = Outcome::Value;                         ///< decides which of the others count
    double value = std::numeric_limits<double>::quiet_NaN();  ///< the function's
    std::string text;                                         ///< a reason, for people
    std::exception_ptr exception;                             ///< the function's
    KrU32 worker = 0;                                         ///< which of the workers, from 0 on
    double seconds = 0.0;  ///< what the evaluation took; 0 stands for the time since `start`
};
