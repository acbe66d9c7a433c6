#include "search/KrAskTell.h"

#include "foundation/core/KrPrint.h"
#include "search/internal/KrNoWorkers.h"
#include "search/internal/KrSame.h"

#include <algorithm>
#include <limits>

KR_SOURCE_VERSION;

KrAskTell::KrAskTell(KrSearch const& search, KrEvaluationRecord* record)
    : search_(search),
      own_(record ? nullptr : std::make_unique<KrEvaluationRecord>()),
      record_(record ? record : own_.get()) {
    search_.setMaxSeconds(std::numeric_limits<double>::infinity());  // of a run, which a replay is
    KrNoWorkers workers;
    report_ = search_.run(workers);  // a search that is refused leaves no file
    bool const isRefused = report_.reason() == KrSearchReason::Failed;
    isHolding_ = !isRefused && record_->hold(search_);
    if (isHolding_) {
        return;
    }
    report_ = KrSearchReport();
    finished_ = isReplayed_ = true;
}

KrAskTell::~KrAskTell() {
    if (isHolding_) {
        record_->release();
    }
}

std::vector<KrRealVector> KrAskTell::next(KrU32 count) {
    if (count > wanted_.size() && (count > count_ || isTold_)) {  // others may be found
        isReplayed_ = finished_;
        count_ = count;
    }
    replay();
    if (wanted_.size() <= count) {
        return wanted_;
    }
    return {wanted_.begin(), wanted_.begin() + count};
}

void KrAskTell::tell(KrRealVector const& point, double value) {
    KrEvaluationRecord::Entry entry;
    entry.value = value;
    add(point, std::move(entry));
}

void KrAskTell::tellFailure(KrRealVector const& point, std::string const& text) {
    KrEvaluationRecord::Entry entry;
    entry.value = std::numeric_limits<double>::quiet_NaN();
    entry.failed = true;
    entry.text = text;
    add(point, std::move(entry));
}

void KrAskTell::add(KrRealVector const& point, KrEvaluationRecord::Entry entry) {
    if (point.size() != search_.variables().size()) {
        Kr::Print::instance().write(Kr::PrintType::Error,
                                    "search: expected a point of %u coordinates, found %u\n",
                                    search_.variables().size(), point.size());
        return;
    }
    if (!isHolding_) {
        return;  // the search was refused
    }
    isTold_ = true;
    entry.point = point;
    record_->add(record_->nextTicket(), std::move(entry), false);
    isRecordFull_ = !record_->flush() || isRecordFull_;
    for (std::size_t i = wanted_.size(); i-- > 0;) {
        if (krSamePoint(wanted_[i], point)) {
            wanted_.erase(wanted_.begin() + static_cast<std::ptrdiff_t>(i));
            asked_ -= i < asked_ ? 1 : 0;
        }
    }
    isReplayed_ = isReplayed_ && asked_ > 0;  // as long as others are missing, nothing changes
}

bool KrAskTell::finished() {
    replay();
    return finished_;
}

KrSearchReport const& KrAskTell::report() {
    replay();
    return report_;
}

void KrAskTell::replay() {
    if (isReplayed_) {
        return;
    }
    KrNoWorkers workers(count_);
    report_ = search_.run(workers, {.record = record_});
    wanted_ = std::move(workers.points);
    asked_ = workers.asked;
    isTold_ = false;
    finished_ = report_.reason() != KrSearchReason::Cancelled || wanted_.empty() || isRecordFull_;
    isReplayed_ = true;
    if (finished_) {  // perhaps inside a batch that lacks values
        wanted_.clear();
        asked_ = 0;
    }
}
