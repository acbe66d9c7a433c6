#include "python/Calls.h"
#include "python/Element.h"
#include "python/Module.h"
#include "python/Values.h"
#include "search/KrAskTell.h"
#include "search/KrCallingThread.h"
#include "search/KrEvaluationWorkers.h"
#include "search/KrSearch.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <cmath>
#include <optional>

namespace py = pybind11;

namespace {

py::array arrayOf(KrRealVector const& values) {
    return py::array_t<double>(static_cast<py::ssize_t>(values.size()), values.data());
}

KrRealVector pointFrom(py::handle value, std::size_t dimension) {
    KrXmlRealVector numbers;
    componentFromPython(numbers, value, "point");
    if (numbers.size() != dimension) {
        throwValue("point", "expected " + std::to_string(dimension) + " coordinates, got " +
                                std::to_string(numbers.size()));
    }
    return KrRealVector(numbers.begin(), numbers.end());
}

// --- One thread at a time.

// Marks an object that a call without the GIL uses, so that another thread's call is refused.
class Use {
public:
    Use(bool& isUsed, char const* name) : isUsed_(isUsed) {
        if (isUsed_) {
            throw std::runtime_error(std::string(name) + ": in use by another call");
        }
        isUsed_ = true;
    }
    ~Use() { isUsed_ = false; }
    Use(Use const&) = delete;
    Use& operator=(Use const&) = delete;

private:
    bool& isUsed_;
};

// The record as Python holds it.
class Record : public KrEvaluationRecord {
public:
    using KrEvaluationRecord::KrEvaluationRecord;

    // Raises RuntimeError while a search uses the record.
    Record const& idle() const {
        if (isUsed) {
            throw std::runtime_error("record: in use by another call");
        }
        return *this;
    }

    std::optional<std::string> path;  // none in memory
    bool isUsed = false;
};

// --- What a callback sees.

struct Progress {
    KrU32 evaluation;
    KrRealVector point;
    double value;
    bool failed;
    bool isFromRecord;
    KrRealVector bestPoint;
    double bestValue;
    double seconds;
};

// Whether a callback has returned True, or that of numpy. Other objects do not stop a search: a
// callback such as `list.append` may return anything.
bool isTrue(py::handle result) {
    static PyObject* const numpyTrue =
        py::object(py::module_::import("numpy").attr("True_")).release().ptr();
    return result.ptr() == Py_True || result.ptr() == numpyTrue;
}

// Calls the callback, and looks for Ctrl-C where a search takes many values from its memory in a
// row.
class Observer : public KrSearchObserver {
public:
    Observer(py::object callback, GilRelease& release)
        : callback_(std::move(callback)), release_(release) {}

    void evaluated(KrSearchProgress const& progress) override {
        bool const isPause = progress.isFromRecord && progress.seconds > lastPause_ + pauseAfter;
        if (callback_.is_none() && !isPause) {
            return;
        }
        GilRelease::Pause const pause(release_);
        if (isPause) {
            lastPause_ = progress.seconds;
            if (PyErr_CheckSignals() != 0) {
                throw py::error_already_set();
            }
        }
        if (callback_.is_none()) {
            return;
        }
        Progress copy{progress.evaluation, progress.point,        progress.value,
                      progress.failed,     progress.isFromRecord, progress.bestPoint,
                      progress.bestValue,  progress.seconds};
        py::object const argument = py::cast(std::move(copy));
        auto const result = py::reinterpret_steal<py::object>(
            callPython([&] { return PyObject_CallOneArg(callback_.ptr(), argument.ptr()); }));
        if (!result) {
            if (!PyErr_ExceptionMatches(PyExc_StopIteration)) {
                throw py::error_already_set();
            }
            PyErr_Clear();
            stop_.request_stop();
        } else if (isTrue(result)) {
            stop_.request_stop();
        }
    }

    std::stop_token token() const {
        return callback_.is_none() ? std::stop_token() : stop_.get_token();
    }

private:
    static constexpr double pauseAfter = 0.005;  // seconds, as the interpreter switches threads

    py::object const callback_;
    GilRelease& release_;
    double lastPause_ = 0.0;
    std::stop_source stop_;
};

// --- Evaluations by an executor of `concurrent.futures`, which the Python class `Pool` serves.

class PoolWorkers : public KrEvaluationWorkers {
public:
    PoolWorkers(py::object pool, GilRelease& release, std::function<void()> begin)
        : pool_(std::move(pool)),
          count_(pool_.attr("count").cast<KrU32>()),
          release_(release),
          begin_(std::move(begin)) {}

    KrU32 count() const override { return count_; }

    void start(std::span<KrEvaluationRequest const> requests) override {
        GilRelease::Pause const pause(release_);
        if (begin_) {
            std::exchange(begin_, nullptr)();
        }
        for (KrEvaluationRequest const& request : requests) {
            callPool("start", py::make_tuple(request.ticket, arrayOf(request.point)));
        }
    }

    bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) override {
        GilRelease::Pause const pause(release_);
        py::object seconds = py::none();
        if (stop.stop_requested()) {
            seconds = py::float_(0.0);
        } else if (until != Time::max()) {
            double const left =
                until == Time::min()
                    ? 0.0
                    : std::chrono::duration<double>(until - std::chrono::steady_clock::now())
                          .count();
            seconds = py::float_(std::max(left, 0.0));
        }
        py::list const ended = callPool("finish", py::make_tuple(seconds));
        for (py::handle const entry : ended) {
            all.push_back(evaluation(entry.cast<py::tuple>()));
        }
        return !ended.empty();
    }

    void cancel() override {
        GilRelease::Pause const pause(release_);
        callPool("cancel", py::tuple());
    }

private:
    py::object callPool(char const* method, py::tuple const& arguments) const {
        py::object const called = pool_.attr(method);
        auto result = py::reinterpret_steal<py::object>(
            callPython([&] { return PyObject_CallObject(called.ptr(), arguments.ptr()); }));
        return result ? result : throw py::error_already_set();
    }

    // From (ticket, outcome, result, seconds, worker).
    static KrEvaluation evaluation(py::tuple const& entry) {
        KrEvaluation made;
        made.ticket = entry[0].cast<std::uint64_t>();
        made.seconds = entry[3].cast<double>();
        made.worker = entry[4].cast<KrU32>();
        std::string const outcome = entry[1].cast<std::string>();
        py::object const result = entry[2];
        if (outcome == "value") {
            made.value = result.cast<double>();
        } else if (outcome == "failure") {
            made.outcome = KrEvaluation::Outcome::Failure;
            made.text = result.cast<std::string>();
        } else if (outcome == "exception") {
            made.outcome = KrEvaluation::Outcome::Exception;
            PyErr_Restore(py::type::handle_of(result).inc_ref().ptr(), result.inc_ref().ptr(),
                          PyException_GetTraceback(result.ptr()));
            made.exception = std::make_exception_ptr(py::error_already_set());
        } else {
            made.outcome = KrEvaluation::Outcome::Cancelled;
        }
        return made;
    }

    py::object const pool_;
    KrU32 const count_;
    GilRelease& release_;
    std::function<void()> begin_;
};

// --- A run.

// The report, and why the search was refused; None if it was not.
py::tuple run(KrSearch const& settings, py::object const& function, py::tuple const& arguments,
              bool isVectorized, py::object const& pool, py::object const& callback,
              Record* record) {
    std::optional<Use> use;
    if (record) {
        use.emplace(record->isUsed, "record");
    }
    // The function may change the element, or run it again.
    KrSearch const search(settings);  // NOLINT(performance-unnecessary-copy-initialization)
    KrU32 const dimension = search.variables().size();
    std::optional<MessageCollector> refusal(std::in_place);
    // What is printed later is no refusal.
    auto const begin = [&refusal] {
        refusal->pass();
        refusal.reset();
        deliverMessages();
    };
    KrSearchReport report;
    {
        GilRelease release;
        std::unique_ptr<KrEvaluationWorkers> workers;
        std::unique_ptr<PythonFunction> called;
        std::optional<Observer> observer;
        // They have references to objects of Python.
        struct Cleaner {
            GilRelease& release;
            std::unique_ptr<KrEvaluationWorkers>& workers;
            std::unique_ptr<PythonFunction>& called;
            std::optional<Observer>& observer;
            ~Cleaner() {
                GilRelease::Pause const pause(release);
                workers.reset();
                called.reset();
                observer.reset();
            }
        } const cleaner{release, workers, called, observer};
        {
            GilRelease::Pause const pause(release);
            observer.emplace(callback, release);
            if (!pool.is_none()) {
                workers = std::make_unique<PoolWorkers>(pool, release, begin);
            } else {
                called = isVectorized ? std::make_unique<VectorizedFunction>(
                                            function, arguments, dimension, release, begin)
                                      : std::make_unique<PythonFunction>(function, arguments,
                                                                         dimension, release, begin);
                workers = std::make_unique<KrCallingThread>(*called);
            }
        }
        KrSearchContext context;
        context.record = record;
        context.stop = observer->token();
        // Without memory and callback nothing happens between two evaluations.
        if (!callback.is_none() || search.remember() || record) {
            context.observer = &*observer;
        }
        report = search.run(*workers, context);
    }
    py::object texts = py::none();
    if (refusal) {
        if (report.reason() == KrSearchReason::Failed) {
            texts = refusal->texts();
        } else {
            refusal->pass();
        }
    }
    return py::make_tuple(elementToPython(std::make_unique<KrSearchReport>(std::move(report))),
                          texts);
}

// --- The record.

py::object entryOf(KrEvaluationRecord::Entry const& entry) {
    py::dict dict;
    dict["point"] = arrayOf(entry.point);
    dict["value"] = entry.value;
    dict["failed"] = entry.failed;
    dict["text"] = entry.text;
    dict["worker"] = entry.worker;
    dict["start"] = entry.start;
    dict["seconds"] = entry.seconds;
    dict["run"] = entry.run;
    return dict;
}

void bindRecord(py::module_& module) {
    py::class_<Record>(module, "Record")
        .def(py::init(
            [](std::optional<std::string> const& path, double durableAfter, bool endsOnError) {
                auto record = path ? std::make_unique<Record>(*path) : std::make_unique<Record>();
                record->path = path;
                record->setDurableAfter(durableAfter);
                record->setEndsOnError(endsOnError);
                return record;
            }))
        .def(
            "_load",
            [](Record& self) {
                Use const use(self.isUsed, "record");
                if (!self.path) {
                    throwValue("record", "in memory, expected one with the path of a file");
                }
                MessageCollector messages;
                bool isGood = false;
                {
                    GilRelease const release;
                    isGood = self.load();
                }
                py::list texts;
                if (isGood) {
                    messages.pass();
                } else {
                    texts = messages.texts();
                }
                return py::make_tuple(isGood, texts);
            },
            py::call_guard<MessageDelivery>())
        .def_property_readonly("_path",
                               [](Record const& self) -> py::object {
                                   return self.path ? py::object(py::bytes(*self.path))
                                                    : py::none();
                               })
        .def_property_readonly("_is_empty",
                               [](Record const& self) { return self.idle().runs().empty(); })
        .def("_search",
             [](Record const& self) {
                 return elementToPython(std::make_unique<KrSearch>(self.idle().search()));
             })
        .def_property_readonly(
            "entries",
            [](Record const& self) {
                py::dict entries;
                for (auto const& [ticket, entry] : self.idle().entries()) {
                    entries[py::int_(ticket)] = entryOf(entry);
                }
                return entries;
            },
            "Every evaluation by its ticket, in the order of the tickets: dictionaries with "
            "`point`, "
            "`value`, `failed`, `text`, `worker`, `start` and `seconds` in seconds of the run, and "
            "`run`, the index in `runs`.")
        .def_property_readonly(
            "asked",
            [](Record const& self) {
                auto const& asked = self.idle().asked();
                return py::array_t<std::uint64_t>(static_cast<py::ssize_t>(asked.size()),
                                                  asked.data());
            },
            "The tickets of the evaluations that the search has asked for, in its order, an array "
            "of shape (m,). An idle worker may have evaluated others.")
        .def_property_readonly(
            "points",
            [](Record const& self) {
                auto const& asked = self.idle().asked();
                std::size_t const columns =
                    asked.empty() ? 0 : self.idle().entries().at(asked[0]).point.size();
                py::array_t<double> points({asked.size(), columns});
                double* next = points.mutable_data();
                for (std::uint64_t const ticket : asked) {
                    next = std::ranges::copy(self.idle().entries().at(ticket).point, next).out;
                }
                return points;
            },
            "The points that the search has asked for, in its order, an array of shape (m, n).")
        .def_property_readonly(
            "values",
            [](Record const& self) {
                auto const& asked = self.idle().asked();
                py::array_t<double> values(static_cast<py::ssize_t>(asked.size()));
                std::ranges::transform(asked, values.mutable_data(), [&](std::uint64_t ticket) {
                    return self.idle().entries().at(ticket).value;
                });
                return values;
            },
            "The values at `points`, an array of shape (m,); NaN where an evaluation failed.")
        .def_property_readonly(
            "runs",
            [](Record const& self) {
                py::list runs;
                for (auto const& run : self.idle().runs()) {
                    py::dict dict;
                    dict["time"] = run.time;
                    dict["host"] = run.host;
                    dict["process"] = run.process;
                    dict["version"] = run.version;
                    dict["evaluations"] = run.evaluations;
                    runs.append(dict);
                }
                return runs;
            },
            "The runs, in their order: dictionaries with `time`, `host`, `process`, `version` of "
            "the library, and `evaluations`, how many the search had asked for before.")
        .def(
            "_verify",
            [](Record& self) {
                Use const use(self.isUsed, "record");
                GilRelease const release;
                return self.verify();
            },
            py::call_guard<MessageDelivery>());
}

// --- Ask and tell.

// With the search's number of variables, and the record.
class Asking {
public:
    Asking(KrSearch const& search, Record* record)
        : dimension_(search.variables().size()), record_(record), asking_(search, record) {
        py::list const texts = messages_->texts();
        // An accepted search prints at most warnings, and that its record cannot be written.
        if (!texts.empty()) {
            KrSearchReport const& report = asking_.report();
            if (report.reason() == KrSearchReason::Failed && report.evaluations() == 0) {
                refusal_ = texts;
            } else {
                messages_->pass();
            }
        }
        messages_.reset();
    }

    // Why the search or the record was refused, None if they were not.
    py::object refusal() const { return refusal_; }

    // Calls `call` without the GIL.
    template <class Call>
    auto withoutGil(Call const& call) {
        Use const use(record_ ? record_->isUsed : isUsed_, "AskTell");
        GilRelease const release;
        return call(asking_);
    }

    KrRealVector point(py::handle value) const { return pointFrom(value, dimension_); }

private:
    std::size_t const dimension_;
    Record* const record_;
    std::optional<MessageCollector> messages_{std::in_place};  // while `asking_` is made
    KrAskTell asking_;
    py::object refusal_ = py::none();
    bool isUsed_ = false;
};

void bindAskTell(py::module_& module) {
    py::class_<Asking>(module, "AskTell")
        .def(py::init([](KrSearch const& search, Record* record) {
                 std::optional<Use> use;
                 if (record) {
                     use.emplace(record->isUsed, "record");
                 }
                 return std::make_unique<Asking>(search, record);
             }),
             py::keep_alive<1, 3>(), py::call_guard<MessageDelivery>())
        .def_property_readonly("_refusal", &Asking::refusal)
        .def(
            "_next",
            [](Asking& self, KrU32 count) {
                py::list list;
                for (KrRealVector const& point :
                     self.withoutGil([&](KrAskTell& asking) { return asking.next(count); })) {
                    list.append(arrayOf(point));
                }
                return list;
            },
            py::call_guard<MessageDelivery>())
        .def(
            "_tell",
            [](Asking& self, py::handle point, double value) {
                KrRealVector const x = self.point(point);
                self.withoutGil([&](KrAskTell& asking) { asking.tell(x, value); });
            },
            py::call_guard<MessageDelivery>())
        .def(
            "_tell_failure",
            [](Asking& self, py::handle point, std::string const& text) {
                KrRealVector const x = self.point(point);
                self.withoutGil([&](KrAskTell& asking) { asking.tellFailure(x, text); });
            },
            py::call_guard<MessageDelivery>())
        .def_property_readonly(
            "finished",
            [](Asking& self) {
                return self.withoutGil([](KrAskTell& asking) { return asking.finished(); });
            },
            py::call_guard<MessageDelivery>(), "Whether the search has ended.")
        .def_property_readonly(
            "report",
            [](Asking& self) {
                return elementToPython(self.withoutGil([](KrAskTell& asking) {
                    return std::make_unique<KrSearchReport>(asking.report());
                }));
            },
            py::call_guard<MessageDelivery>(),
            "The `SearchReport`: how the search has ended, or how it stands, as \"cancelled\".");
}

}  // namespace

void bindSearches(py::module_& module) {
    module.attr("EvaluationFailure") = evaluationFailure();

    py::class_<Progress>(module, "Progress", "What a callback of a search sees of an evaluation.")
        .def_readonly("evaluation", &Progress::evaluation, "The evaluation's number, from 0 on.")
        .def_property_readonly(
            "x", [](Progress const& self) { return arrayOf(self.point); },
            "Its point, an array of shape (n,).")
        .def_readonly("fun", &Progress::value, "Its value; NaN if it failed.")
        .def_readonly("failed", &Progress::failed, "Whether it raised `EvaluationFailure`.")
        .def_readonly("is_from_record", &Progress::isFromRecord,
                      "Whether its value is from the memory or the record, without a call.")
        .def_property_readonly(
            "best_x", [](Progress const& self) { return arrayOf(self.bestPoint); },
            "The best feasible point so far, an array of shape (n,); empty before the first one.")
        .def_readonly("best_fun", &Progress::bestValue,
                      "The value at `best_x`; NaN before the first feasible point.")
        .def_readonly("seconds", &Progress::seconds, "The time since the run began, in seconds.");

    module.def("_result",
               [](py::handle value) { return realFrom(value, "fun", "a number as result"); });
    bindRecord(module);
    bindAskTell(module);
    module.def("_run", &run, py::call_guard<MessageDelivery>());
    module.def("_report_text",
               [](KrSearchReport const& report, std::vector<std::string> const& names) {
                   return report.text(names);
               });
    module.def("_first_difference",
               [](KrSearch const& a, KrSearch const& b) { return a.firstDifference(b); });
}
