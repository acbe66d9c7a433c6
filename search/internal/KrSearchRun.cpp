#include "search/internal/KrSearchRun.h"

#include "foundation/core/KrPrint.h"
#include "foundation/math/KrRandomScope.h"
#include "foundation/xml/KrXmlPairType.h"
#include "foundation/xml/KrXmlReader.h"
#include "search/KrCallingThread.h"
#include "search/internal/KrRecordText.h"
#include "search/internal/KrSame.h"
#include "search/internal/KrSearchRunWorkers.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <functional>
#include <set>

KR_SOURCE_VERSION;

namespace {

using Indices = KrXmlVectorType<KrXmlBasicType<KrU32>>;
using IndexPairs = KrXmlVectorType<KrXmlPairType<KrXmlBasicType<KrU32>, KrXmlBasicType<KrU32>>>;

// The power of two that is nearest to `scale` by ratio: a product with it rounds nothing.
double powerOfTwo(double scale) {
    int exponent = 0;
    double const fraction = std::frexp(scale, &exponent);  // in [1/2, 1)
    return std::ldexp(1.0, fraction > 0.70710678118654752 ? exponent : exponent - 1);
}

// Whether the function overrides `evaluateMultiple`. This compares slots of virtual tables: a
// pointer to a virtual member function holds the offset of its slot (Itanium C++ ABI, which all
// compilers but one family follow).
bool hasOwnBatch(KrScalarMultivariableFunction const& f) {
    struct Plain : KrScalarMultivariableFunction {
        double evaluate(KrRealVector const&) const override { return 0.0; }
        KrU32 domainDim() const override { return 0; }
    } const plain;
    struct Member {
        std::ptrdiff_t offset;
        std::ptrdiff_t adjustment;
    };
    asm volatile("" : : "r"(&plain) : "memory");  // its table is read below
    auto const slot = &KrScalarMultivariableFunction::evaluateMultiple;
    static_assert(sizeof slot == sizeof(Member));
    // On most processors the low bit marks a virtual function, and is no part of the offset.
    std::ptrdiff_t const offset = std::bit_cast<Member>(slot).offset & ~std::ptrdiff_t{1};
    auto const entry = [offset](KrScalarMultivariableFunction const& object) {
        char const* const table = *reinterpret_cast<char const* const*>(&object);
        return *reinterpret_cast<void const* const*>(table + offset);
    };
    return entry(f) != entry(plain);
}

}  // namespace

class KrSearchRun::Function : public KrScalarMultivariableFunction {
public:
    explicit Function(KrSearchRun& run) : run_(run) {}

    double evaluate(KrRealVector const& x) const override {
        CallersStream const stream(run_);
        if (!run_.space_) {
            return run_.step(x);
        }
        double const distance = run_.space_->enter(x, point_);
        return krPenalised(run_.step(point_), distance, run_.sign_);
    }
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        CallersStream const stream(run_);
        if (!run_.space_) {
            run_.stepMany(points, values);
            return;
        }
        points_.resize(points.size());
        distances_.resize(points.size());
        for (std::size_t i = 0; i < points.size(); ++i) {
            distances_[i] = run_.space_->enter(points[i], points_[i]);
        }
        run_.stepMany(points_, values);
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i] = krPenalised(values[i], distances_[i], run_.sign_);
        }
    }
    KrU32 domainDim() const override { return run_.dimension_; }

private:
    KrSearchRun& run_;
    mutable KrRealVector point_;  // physical, and those of a batch
    mutable std::vector<KrRealVector> points_;
    mutable KrRealVector distances_;
};

// The function of a search with workers. It also keeps the values, on which clones run ahead.
class KrSearchRun::GivingFunction : public Function {
public:
    GivingFunction(KrSearchRun& run, Workers& workers) : Function(run), workers_(workers) {}

    double evaluate(KrRealVector const& x) const override {
        double const value = Function::evaluate(x);
        workers_.give(value);
        return value;
    }
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        Function::evaluateMultiple(points, values);
        std::ranges::for_each(values, [this](double value) { workers_.give(value); });
    }

private:
    Workers& workers_;
};

KrSearchRun::KrSearchRun(KrSearch const& search, KrEvaluationWorkers& workers,
                         KrSearchContext const& context)
    : search_(search),
      workers_(workers),
      context_(context),
      record_(context.record),
      direct_(workers.directFunction()),
      slot_(KrRandomScope::slot()),
      callers_(slot_),
      begin_(std::chrono::steady_clock::now()),
      dimension_(search.variables().size()),
      maxEvaluations_(search.maxEvaluations()),
      maximise_(search.maximise()),
      sign_(maximise_ ? -1.0 : 1.0),
      remember_(search.remember()),
      canStop_(context.stop.stop_possible()),
      isTimed_(context.record || context.observer),
      constraints_(search.constraints()),
      worstValue_(maximise_ ? infinity : -infinity) {}

KrSearchRun::~KrSearchRun() {
    if (hasWorkers_) {
        workers_.isSearching_ = 0;
    }
}

KrSearchReport KrSearchRun::run() {
    try {
        if (!isRefused() && (!record_ || record_->begin(search_))) {
            prepare();
            search();
        }
    } catch (...) {
        report_.reason_ = static_cast<unsigned short>(KrSearchReason::Failed);
        finish();
        throw;
    }
    finish();
    return report_;
}

// --- What is refused before the first evaluation.

bool KrSearchRun::refuse(std::string const& text) {
    Kr::Print::instance().write(Kr::PrintType::Error, "search: %s\n", text);
    return true;
}

bool KrSearchRun::isRefused() {
    bool refused = false;
    hasWorkers_ = workers_.isSearching_.exchange(1) == 0;
    if (!hasWorkers_) {
        refused =
            refuse("workers: expected an object that is not in use, found that of another search");
    }
    auto const& variables = search_.variables().vectorContainer();
    if (std::ranges::count(variables, nullptr) == std::ssize(variables)) {
        refused = refuse("variables: expected at least one variable, found none");
    }
    std::set<std::string> names;
    for (KrSearchVariable const* const variable : variables) {
        if (!variable) {
            refused = refuse("variables: expected a variable, found an empty entry");
        } else {
            refused = refuseBadVariable(*variable) || refused;
            if (!names.insert(variable->name()).second) {
                refused = refuse("variable " + krXmlQuoted(variable->name()) +
                                 ": name: expected a name of its own, found it twice");
            }
        }
    }
    if (!search_.optimizer().topElement()) {
        refused = refuse("optimizer: expected an optimizer, found none");
    }
    for (KrU32 i = 0; i < constraints_.size(); ++i) {
        refused = refuseBadConstraint(i) || refused;
    }
    auto const number = [&](char const* component, double value, bool isGood, char const* range) {
        if (!isGood) {
            refused = refuse(std::string(component) + ": expected a number " + range + ", found " +
                             KrRecordText::number(value));
        }
    };
    double const weight = search_.constraintWeight();
    number("constraintWeight", weight, weight >= 0.0 && weight < infinity, "from 0 on, finite");
    number("maxSeconds", search_.maxSeconds(), search_.maxSeconds() >= 0.0, "from 0 on");
    number("stallImprovement", search_.stallImprovement(), search_.stallImprovement() >= 0.0,
           "from 0 on");
    if (auto const* const f = workers_.directFunction(); f && f->domainDim() != dimension_) {
        refused =
            refuse("variables: expected " + std::to_string(f->domainDim()) +
                   " variables, as many as the function has, found " + std::to_string(dimension_));
    }
    return refused;
}

bool KrSearchRun::refuseBadVariable(KrSearchVariable const& variable) {
    std::string const where = "variable " + krXmlQuoted(variable.name()) + ": ";
    bool refused = false;
    auto const check = [&](bool isGood, std::string const& expected, double found) {
        if (!isGood) {
            refused =
                refuse(where + expected + ", found " + KrRecordText::number(found)) || refused;
        }
    };
    auto const isNameCharacter = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               c == '_' || c == '-' || c == '.';
    };
    if (variable.name().empty() || !std::ranges::all_of(variable.name(), isNameCharacter)) {
        refused = refuse(where + "name: expected letters, digits, \"_\", \"-\" and \".\", found " +
                         krXmlQuoted(variable.name()));
    }
    check(std::isfinite(variable.start()), "start: expected a finite number", variable.start());
    check(variable.lower() < infinity, "lower: expected a number or -INF", variable.lower());
    check(variable.upper() > -infinity, "upper: expected a number or INF", variable.upper());
    check(!(variable.lower() > variable.upper()),
          "lower: expected at most the upper bound, " + KrRecordText::number(variable.upper()),
          variable.lower());
    check(variable.scale() >= 0x1p-500 && variable.scale() <= 0x1p500,
          "scale: expected a number from 3e-151 to 3e150", variable.scale());
    return refused;
}

// The lists of indices are found by their tags, so that a client's constraint is checked too.
bool KrSearchRun::refuseBadConstraint(KrU32 number) {
    std::string const where = "constraint " + std::to_string(number) + ": ";
    KrBaseMultivariableConstraint* const constraint = constraints_.vectorContainer()[number];
    if (!constraint) {
        return refuse(where + "expected a constraint, found an empty entry");
    }
    bool refused = false;
    auto const check = [&](KrToken const& token, KrU32 index) {
        if (index >= dimension_ && !refused) {
            refused = refuse(where + std::string(token.localName()) + ": expected indices below " +
                             std::to_string(dimension_) + ", found " + std::to_string(index));
        }
    };
    for (auto const& [token, object, isReadOnly] : constraint->componentMap()) {
        if (auto const* const indices = dynamic_cast<Indices const*>(object)) {
            for (auto const& index : *indices) {
                check(token, index);
            }
        } else if (auto const* const pairs = dynamic_cast<IndexPairs const*>(object)) {
            for (auto const& pair : *pairs) {
                check(token, std::max(pair.first().value(), pair.second().value()));
            }
        }
    }
    return refused;
}

// --- The run.

void KrSearchRun::prepare() {
    KrRealVector lower;
    KrRealVector upper;
    KrRealVector scales;
    KrRealVector powers;
    for (KrSearchVariable const* const variable : search_.variables().vectorContainer()) {
        start_.push_back(variable->start());
        lower.push_back(variable->lower());
        upper.push_back(variable->upper());
        scales.push_back(variable->scale());
        powers.push_back(powerOfTwo(variable->scale()));
    }
    auto const isAll = [](KrRealVector const& list, double value) {
        return std::ranges::count(list, value) == std::ssize(list);
    };
    if (!isAll(powers, 1.0) || !isAll(lower, -infinity) || !isAll(upper, infinity)) {
        for (KrU32 i = 0; i < dimension_; ++i) {
            start_[i] /= powers[i];
        }
        space_.emplace(powers, std::move(lower), std::move(upper), std::move(scales));
        KrRealVector inside;
        if (space_->enter(start_, inside) > 0.0) {
            Kr::Print::instance().write(Kr::PrintType::Warning,
                                        "search: start: expected a point inside the bounds, "
                                        "moved it onto them\n");
            std::ranges::transform(inside, powers, start_.begin(), std::divides());
        }
    }
    inBatches_ = !direct_ || hasOwnBatch(*direct_);
    if (search_.maxSeconds() < 1e9) {  // longer ones are beyond the clock's range
        deadline_ = begin_ + std::chrono::duration_cast<Time::duration>(
                                 std::chrono::duration<double>(search_.maxSeconds()));
    }
    isPlain_ = direct_ && !isTimed_ && !canStop_ && !remember_ && maxEvaluations_ == 0 &&
               deadline_ == Time::max() && constraints_.size() == 0 &&
               std::isnan(search_.targetValue()) && search_.stallEvaluations() == 0;
    if (remember_) {
        memory_.emplace(dimension_);
    }
    if (!direct_) {
        pool_ = std::make_unique<Workers>(*this);
    }
    if (record_) {
        keepUnasked();
        nextTicket_ = record_->nextTicket();
        next_ = record_->entries().begin();
    }
    firstTicket_ = nextTicket_;
}

// Remembers evaluations that were complete when the last run ended, and not yet asked for.
void KrSearchRun::keepUnasked() {
    std::vector<std::uint64_t> asked = record_->asked();
    if (!std::ranges::is_sorted(asked)) {
        std::ranges::sort(asked);
    }
    auto next = asked.begin();
    for (auto const& [ticket, entry] : record_->entries()) {
        while (next != asked.end() && *next < ticket) {
            ++next;
        }
        if (next != asked.end() && *next == ticket) {
            continue;
        }
        if (!memory_) {
            memory_.emplace(dimension_);
        }
        if (!memory_->find(entry.point)) {
            bool const failed = entry.failed || isFailure(entry.value);
            Known const known{entry.value, failed, false, ticket};
            memory_->insert(entry.point, known);
            if (pool_) {
                pool_->learn(entry.point, known);
            }
        }
    }
}

void KrSearchRun::search() {
    std::unique_ptr<Function const> const function =
        pool_ ? std::make_unique<GivingFunction const>(*this, *pool_)
              : std::make_unique<Function const>(*this);
    // A clone, since an optimizer may carry a value over from its last search.
    KrScalarMultivariableOptimizerContainer const optimizer(search_.optimizer());
    KrRandomStream stream(search_.seed());
    KrRealVector answer;
    double value = nan;
    try {
        KrRandomScope const scope(stream);
        value = maximise_ ? optimizer.findMaximum(*function, start_, answer)
                          : optimizer.findMinimum(*function, start_, answer);
    } catch (Stop const&) {
    } catch (...) {
        endEvaluations();
        throw;
    }
    endEvaluations();
    if (exception_) {  // which the optimizer caught
        std::rethrow_exception(exception_);
    }
    report_.reason_ = static_cast<unsigned short>(stopped_.value_or(KrSearchReason::Finished));
    if (!stopped_) {
        setAnswer(answer, value);
    }
}

// What finished meanwhile is recorded, so that no run makes it again.
void KrSearchRun::endEvaluations() {
    try {
        if (pool_) {
            pool_->drain();
        }
    } catch (...) {
        exception_ = exception_ ? exception_ : std::current_exception();
    }
}

// The function's own value at the answer is the optimizer's if no penalty was added there.
void KrSearchRun::setAnswer(KrRealVector const& answer, double value) {
    KrRealVector inside = answer;
    bool const isInside = !space_ || space_->enter(answer, inside) == 0.0;
    report_.answerPoint_ = KrXmlRealVector::fromValues(inside);
    // A value that was only speculated does not count.
    Known const* const known = remember_ ? memory_->find(inside) : nullptr;
    if (known && known->isTaken) {
        report_.answer_ = known->value;
    } else if (inside == best_) {
        report_.answer_ = bestValue_;
    } else if (isInside && violation(inside) == 0.0) {
        report_.answer_ = value;
    }
}

void KrSearchRun::finish() {
    if (record_) {
        record_->end();
    }
    report_.bestPoint_ = KrXmlRealVector::fromValues(best_);
    report_.bestValue_ = bestValue_;
    report_.evaluations_ = asked_;
    report_.evaluationsMade_ = made_;
    report_.evaluationsSpeculated_ = speculated_;
    report_.evaluationsFromRecord_ = replayed_;
    report_.failures_ = failures_;
    report_.seconds_ = secondsSince(begin_);
    if (context_.report) {
        *context_.report = report_;
    }
}

// --- One evaluation.

double KrSearchRun::step(KrRealVector const& x) {
    if (isPlain_ && failures_ != asked_ && !exception_) {
        // Nothing can happen between two evaluations, and nobody else sees them.
        double value = nan;
        bool const isGood = call(x, value);
        return takePlain(x, value, isGood);
    }
    mayGoOn();
    if (pool_) {
        pool_->ask(x);
    }
    return take(x, obtain(x));
}

// A value of a plain run.
inline double KrSearchRun::takePlain(KrRealVector const& x, double value, bool isGood) {
    ++asked_;
    if (isGood) [[likely]] {
        if (isBetter(value, bestValue_)) {
            compare(x, value);
        }
        noteWorst(value);
        return value;
    }
    return optimizersValue({value, true});
}

// Calls the function. False if the point has no value.
bool KrSearchRun::call(KrRealVector const& x, double& value) {
    ++made_;
    try {
        value = direct_->evaluate(x);
        return !isFailure(value);
    } catch (KrEvaluationFailure const&) {
        return false;
    } catch (...) {
        exception_ = std::current_exception();
        throw;
    }
}

// Between two evaluations.
void KrSearchRun::mayGoOn() {
    if (exception_) {
        std::rethrow_exception(exception_);
    }
    if (stopped_) {
        throw Stop();
    }
    if (canStop_ && context_.stop.stop_requested()) {
        stop(KrSearchReason::Cancelled);
    }
    if (maxEvaluations_ != 0 && asked_ >= maxEvaluations_) {
        stop(KrSearchReason::Evaluations);
    }
    if (deadline_ != Time::max() && std::chrono::steady_clock::now() >= deadline_) {
        stop(KrSearchReason::Time);
    }
}

void KrSearchRun::stop(KrSearchReason reason) {
    stopped_ = reason;
    throw Stop();
}

// A client's optimizer may ask for anything. A function that is called directly gets it; a record
// and workers expect points of the search.
void KrSearchRun::checkLength(KrRealVector const& x) {
    if (x.size() != dimension_ && (record_ || pool_)) {
        Kr::Print::instance().write(
            Kr::PrintType::Error,
            "search: evaluation %u: expected a point of %u coordinates, found %u\n", asked_,
            dimension_, x.size());
        stop(KrSearchReason::Failed);
    }
}

auto KrSearchRun::obtain(KrRealVector const& x) -> Known {
    checkLength(x);
    isOld_ = true;
    std::uint64_t const hash = memory_ ? KrPointTable<Known>::hashOf(x) : 0;
    if (record_ && asked_ < record_->asked().size()) {
        return replayed(x, hash);
    }
    if (Known* const known = remembered(x, hash)) {
        isOld_ = known->isTaken || known->ticket < firstTicket_;
        known->isTaken = true;
        if (record_ && !record_->take(known->ticket)) {
            stop(KrSearchReason::Cancelled);
        }
        return *known;
    }
    isOld_ = false;
    return evaluated(x, hash);
}

// An evaluation that the search may use again, or that it has not used yet.
auto KrSearchRun::remembered(KrRealVector const& x, std::uint64_t hash) -> Known* {
    Known* const known = memory_ ? memory_->find(x, hash) : nullptr;
    return known && (remember_ || !known->isTaken) ? known : nullptr;
}

// Most tickets are asked for in their order.
KrEvaluationRecord::Entry const& KrSearchRun::recorded(std::uint64_t ticket) {
    auto const& entries = record_->entries();
    if (next_ == entries.end() || next_->first != ticket) {
        next_ = entries.find(ticket);
    }
    return (next_++)->second;
}

auto KrSearchRun::replayed(KrRealVector const& x, std::uint64_t hash) -> Known {
    std::uint64_t const ticket = record_->asked()[asked_];
    KrEvaluationRecord::Entry const& entry = recorded(ticket);
    if (!krSamePoint(x, entry.point)) {
        divergence_ = x;
        Kr::Print::instance().write(
            Kr::PrintType::Error, "search: evaluation %u: %s\n", asked_,
            "expected the point of the record, found another: the library, the optimizer or the "
            "machine computes differently");
        stop(KrSearchReason::Failed);
    }
    ++replayed_;
    Known const known{entry.value, entry.failed || isFailure(entry.value), true, ticket};
    if (Known* const old = remember_ ? memory_->find(x, hash) : nullptr) {
        old->isTaken = true;
    } else if (remember_) {
        memory_->insert(x, hash, known);
    }
    if (pool_) {
        pool_->learn(x, known);
    }
    return known;
}

auto KrSearchRun::evaluated(KrRealVector const& x, std::uint64_t hash) -> Known {
    if (!direct_) {
        return claimed(x, evaluatedMany({x}).front());
    }
    if (!isTimed_) {
        Known known{nan, false, true, nextTicket_};
        known.failed = !call(x, known.value);
        if (remember_) {
            memory_->insert(x, hash, known);
        }
        return known;
    }
    return evaluatedAlone(x, true);
}

auto KrSearchRun::evaluatedAlone(KrRealVector const& x, bool isTaken) -> Known {
    KrEvaluation evaluation = KrCallingThread::evaluate(*direct_, x);
    evaluation.ticket = nextTicket_++;
    ++made_;
    if (evaluation.exception) {
        exception_ = evaluation.exception;
        std::rethrow_exception(exception_);
    }
    return accepted(x, evaluation, isTaken);
}

// A batch. Its evaluations that are new are made as one.
void KrSearchRun::stepMany(std::vector<KrRealVector> const& points, KrRealVector& values) {
    values.resize(points.size());
    if (!inBatches_) {
        std::ranges::transform(points, values.begin(),
                               [this](KrRealVector const& x) { return step(x); });
        return;
    }
    if (isPlain_ && failures_ != asked_ && !exception_ && callMany(points, values)) {
        for (std::size_t i = 0; i < points.size(); ++i) {
            values[i] = takePlain(points[i], values[i], !isFailure(values[i]));
        }
        return;
    }
    mayGoOn();
    std::size_t count = points.size();
    if (maxEvaluations_ != 0) {
        count = std::min<std::size_t>(count, maxEvaluations_ - asked_);
    }
    constexpr std::size_t old = ~std::size_t{0};
    std::vector<std::size_t> places(count, old);
    std::vector<KrRealVector> news;
    KrPointTable<char> batch(dimension_);  // what the memory will hold before its turn
    for (std::size_t i = 0; i < count; ++i) {
        checkLength(points[i]);
        if (pool_) {
            pool_->ask(points[i]);
        }
        bool const isReplayed = record_ && asked_ + i < record_->asked().size();
        std::uint64_t const hash = memory_ ? KrPointTable<Known>::hashOf(points[i]) : 0;
        bool const isKnown =
            remembered(points[i], hash) || (remember_ && batch.find(points[i], hash));
        if (!isReplayed && !isKnown) {
            places[i] = news.size();
            news.push_back(points[i]);
        }
        if (remember_ && !isKnown) {
            batch.insert(points[i], hash, 1);
        }
    }
    if (pool_ && remember_ && !news.empty()) {  // clones that run ahead know the batch's replay
        for (std::size_t i = asked_; record_ && i < record_->asked().size(); ++i) {
            std::uint64_t const ticket = record_->asked()[i];
            KrEvaluationRecord::Entry const& entry = record_->entries().at(ticket);
            if (!memory_->find(entry.point)) {
                bool const failed = entry.failed || isFailure(entry.value);
                memory_->insert(entry.point, {entry.value, failed, false, ticket});
            }
        }
    }
    std::vector<Made> all = evaluatedMany(news);
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = take(points[i],
                         places[i] == old ? obtain(points[i]) : claimed(points[i], all[places[i]]));
    }
    if (count < points.size()) {
        mayGoOn();
    }
}

auto KrSearchRun::evaluatedMany(std::vector<KrRealVector> const& points) -> std::vector<Made> {
    return points.empty() ? std::vector<Made>()
           : pool_        ? pool_->evaluate(points)
                          : evaluatedBatch(points);
}

// Calls the function with a batch. False if a point in it fails by an exception.
bool KrSearchRun::callMany(std::vector<KrRealVector> const& points, KrRealVector& values) {
    try {
        direct_->evaluateMultiple(points, values);
    } catch (KrEvaluationFailure const&) {
        return false;
    } catch (...) {
        exception_ = std::current_exception();
        throw;
    }
    values.resize(points.size(), nan);
    made_ += static_cast<KrU32>(points.size());
    return true;
}

auto KrSearchRun::evaluatedBatch(std::vector<KrRealVector> const& points) -> std::vector<Made> {
    std::vector<Made> all(points.size());
    KrRealVector values;
    auto const start = std::chrono::steady_clock::now();
    if (!callMany(points, values)) {
        // The exception names no point. Alone, each point has the same outcome in every batch, also
        // in the shorter one of a resumed search.
        for (std::size_t i = 0; i < points.size(); ++i) {
            all[i].known = evaluatedAlone(points[i], false);
        }
        return all;
    }
    KrEvaluation evaluation;
    evaluation.seconds = secondsSince(start) / static_cast<double>(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        evaluation.ticket = nextTicket_++;
        evaluation.value = values[i];
        all[i].known = accepted(points[i], evaluation, false);
    }
    return all;
}

// The evaluation of a batch whose turn it is.
auto KrSearchRun::claimed(KrRealVector const& x, Made& made) -> Known {
    if (made.exception) {
        exception_ = made.exception;
        std::rethrow_exception(exception_);
    }
    if (!made.broken.empty()) {
        Kr::Print::instance().write(Kr::PrintType::Error, "search: evaluation %u: %s\n", asked_,
                                    made.broken);
        stop(KrSearchReason::Failed);
    }
    if (!made.known) {
        bool const isLate = deadline_ != Time::max() && !context_.stop.stop_requested() &&
                            std::chrono::steady_clock::now() >= deadline_;
        stop(isLate ? KrSearchReason::Time : KrSearchReason::Cancelled);
    }
    isOld_ = false;
    if (Known* const known = memory_ ? memory_->find(x) : nullptr) {
        known->isTaken = true;
    }
    if (record_ && !record_->take(made.known->ticket)) {
        stop(KrSearchReason::Cancelled);
    }
    return *made.known;
}

// Notes a new evaluation in record and memory.
auto KrSearchRun::accepted(KrRealVector const& x, KrEvaluation const& evaluation, bool isTaken)
    -> Known {
    bool const failed = evaluation.outcome == KrEvaluation::Outcome::Failure;
    Known const known{failed ? nan : evaluation.value, failed || isFailure(evaluation.value),
                      isTaken, evaluation.ticket};
    if (failed) {
        lastFailure_ = evaluation.text;
    }
    if (remember_) {
        std::uint64_t const hash = KrPointTable<Known>::hashOf(x);
        if (!memory_->find(x, hash)) {
            memory_->insert(x, hash, known);
        }
    }
    if (record_) {
        KrEvaluationRecord::Entry entry;
        entry.point = x;
        entry.value = known.value;
        entry.failed = failed;
        entry.text = evaluation.text;
        entry.worker = evaluation.worker;
        entry.seconds = evaluation.seconds;
        entry.start = secondsSince(begin_) - evaluation.seconds;
        if (!record_->add(evaluation.ticket, std::move(entry), isTaken)) {
            stop(KrSearchReason::Cancelled);
        }
    }
    return known;
}

// The function's value, or `standIn` if there is none.
double KrSearchRun::optimizersValue(Known const& known) {
    if (!known.failed) {
        noteWorst(known.value);
        return known.value;
    }
    ++failures_;
    return standIn();
}

// The value for a point that has none.
double KrSearchRun::standIn() const {
    double const given = search_.failureValue();
    double const none = maximise_ ? -1e100 : 1e100;
    return !std::isnan(given) ? given : std::isfinite(worstValue_) ? worstValue_ : none;
}

// With the penalty for a violation of the constraints.
double KrSearchRun::penalised(double value, double violation) const {
    bool const counts = violation > 0.0 && search_.constraintWeight() > 0.0;
    return counts ? value + sign_ * search_.constraintWeight() * violation : value;
}

double KrSearchRun::take(KrRealVector const& x, Known const& known) {
    ++asked_;
    double const value = optimizersValue(known);
    double const violated = violation(x);
    if (!known.failed && !(violated > 0.0)) {
        compare(x, value);
    }
    if (context_.observer) {
        context_.observer->evaluated({asked_ - 1, x, known.value, known.failed, isOld_, best_,
                                      bestValue_, secondsSince(begin_)});
    }
    if (failures_ == asked_ && asked_ >= 2 * dimension_ + 1) {
        std::string const reason =
            lastFailure_.empty() ? "" : "; the last one: " + krXmlPrintable(lastFailure_, 200);
        Kr::Print::instance().write(Kr::PrintType::Error,
                                    "search: expected a value, found %u failures and no value%s\n",
                                    failures_, reason.c_str());
        stop(KrSearchReason::Failed);
    }
    double const target = search_.targetValue();
    if (!best_.empty() && (maximise_ ? bestValue_ >= target : bestValue_ <= target)) {
        stop(KrSearchReason::Target);
    }
    if (search_.stallEvaluations() != 0 && asked_ - stallStart_ >= search_.stallEvaluations()) {
        stop(KrSearchReason::Stalled);
    }
    return penalised(value, violated);
}

// A feasible point.
void KrSearchRun::compare(KrRealVector const& x, double value) {
    if (!best_.empty() && !isBetter(value, bestValue_)) {
        return;
    }
    best_ = x;
    bestValue_ = value;
    if (!(std::abs(value - stallValue_) <= search_.stallImprovement() * std::abs(value))) {
        stallValue_ = value;
        stallStart_ = asked_;
    }
}

// The sum of what the constraints are above 0.
double KrSearchRun::violation(KrRealVector const& x) const {
    double sum = 0.0;
    for (KrBaseMultivariableConstraint const* const constraint : constraints_.vectorContainer()) {
        double const c = constraint->evaluate(x);
        sum += c <= 0.0 ? 0.0 : std::isnan(c) ? infinity : c;
    }
    return sum;
}

double KrSearchRun::secondsSince(Time begin) const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}
