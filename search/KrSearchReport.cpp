#include "search/KrSearchReport.h"

#include "search/internal/KrRecordText.h"
#include "search/internal/KrSame.h"

KR_SOURCE_VERSION;

namespace {

constexpr char const* reasons[] = {"finished", "target",    "stalled", "evaluations",
                                   "time",     "cancelled", "failed"};

}  // namespace

KrSearchReport::KrSearchReport() {
    unsigned short value = 0;
    for (char const* const reason : reasons) {
        reason_.setEnumString(value++, reason);
    }
}

std::string KrSearchReport::reasonText() const { return reasons[reason_.value()]; }

std::string KrSearchReport::text(std::vector<std::string> const& names) const {
    std::string text = "reason: " + reasonText() + "\n";
    text += "value: " + KrRecordText::number(bestValue()) + '\n';
    for (KrU32 i = 0; i < bestPoint_.size(); ++i) {
        std::string const name = i < names.size() ? names[i] : "x" + std::to_string(i);
        text += name + " = " + KrRecordText::number(bestPoint_[i]) + '\n';
    }
    text += "evaluations: " + std::to_string(evaluations()) + " (" +
            std::to_string(evaluationsMade()) + " made, " +
            std::to_string(evaluationsFromRecord()) + " from the record, " +
            std::to_string(failures()) + " failed)\n";
    return text + "seconds: " + KrRecordText::number(seconds()) + '\n';
}

void KrSearchReport::registerComponents() {
    registerComponent(KrSearchNames::KrReasonToken, &reason_);
    registerComponent(KrSearchNames::KrBestPointToken, &bestPoint_);
    registerComponent(KrSearchNames::KrBestValueToken, &bestValue_);
    registerComponent(KrSearchNames::KrAnswerPointToken, &answerPoint_);
    registerComponent(KrSearchNames::KrAnswerToken, &answer_);
    registerComponent(KrSearchNames::KrEvaluationsToken, &evaluations_);
    registerComponent(KrSearchNames::KrEvaluationsMadeToken, &evaluationsMade_);
    registerComponent(KrSearchNames::KrEvaluationsFromRecordToken, &evaluationsFromRecord_);
    registerComponent(KrSearchNames::KrEvaluationsSpeculatedToken, &evaluationsSpeculated_);
    registerComponent(KrSearchNames::KrFailuresToken, &failures_);
    registerComponent(KrSearchNames::KrSecondsToken, &seconds_);
}

bool KrSearchReport::operator==(KrSearchReport const& other) const {
    return KrTaggedElement::operator==(other) && reason_ == other.reason_ &&
           bestPoint_ == other.bestPoint_ && krSameNumber(bestValue_, other.bestValue_) &&
           answerPoint_ == other.answerPoint_ && krSameNumber(answer_, other.answer_) &&
           evaluations_ == other.evaluations_ && evaluationsMade_ == other.evaluationsMade_ &&
           evaluationsFromRecord_ == other.evaluationsFromRecord_ &&
           evaluationsSpeculated_ == other.evaluationsSpeculated_ && failures_ == other.failures_ &&
           krSameNumber(seconds_, other.seconds_);
}
