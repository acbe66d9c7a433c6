#include "search/KrEvaluationRecord.h"

#include "foundation/core/KrPrint.h"
#include "foundation/core/internal/KrFileSizeSignal.h"
#include "foundation/xml/KrXml.h"
#include "search/KrSearch.h"
#include "search/internal/KrNoWorkers.h"
#include "search/internal/KrRecordText.h"
#include "search/internal/KrSearchRun.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <ctime>
#include <mutex>
#include <optional>

KR_SOURCE_VERSION;

using namespace KrRecordText;

namespace {

constexpr std::uint64_t largestTicket = std::uint64_t{1} << 62;

constexpr std::string_view heading = "zeibreku-record 1\n";

void report(Kr::PrintType type, std::string const& text) {
    Kr::Print::instance().write(type, "%s\n", text);
}

// Files that a child of this process must not keep open: the lock would live as long as the child.
struct OpenFiles {
    std::mutex mutex;
    std::vector<int*> descriptors;

    static OpenFiles& instance() {
        static OpenFiles& files = *[] {
            auto* const all = new OpenFiles;  // used by children until they end
            pthread_atfork([] { instance().mutex.lock(); }, [] { instance().mutex.unlock(); },
                           [] {
                               for (int* const descriptor : instance().descriptors) {
                                   close(*descriptor);
                                   *descriptor = -1;
                               }
                               instance().descriptors.clear();
                               instance().mutex.unlock();
                           });
            return all;
        }();
        return files;
    }
};

std::string now() {
    std::time_t const seconds = std::time(nullptr);
    std::tm time{};
    gmtime_r(&seconds, &time);
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &time)};
}

std::string hostName() {
    std::array<char, 256> name{};
    if (gethostname(name.data(), name.size() - 1) != 0 || name[0] == 0) {
        return "unknown";
    }
    std::string host = escaped(name.data());
    std::ranges::replace(host, ' ', '_');
    return host;
}

std::string milliseconds(double seconds) {
    return number(std::round(std::max(seconds, 0.0) * 1000.0) / 1000.0);
}

// Reads whatever is there; false if the file cannot be read.
bool readAll(int descriptor, std::string& text) {
    std::array<char, 1 << 16> chunk;
    for (;;) {
        ssize_t const count = read(descriptor, chunk.data(), chunk.size());
        if (count == 0) {
            return true;
        }
        if (count < 0 && errno != EINTR) {
            return false;
        }
        text.append(chunk.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    }
}

// The process that has begun the last run.
std::string lastWriter(std::string_view text) {
    std::size_t const begin = text.rfind("\nr ");
    if (begin == std::string_view::npos) {
        return "another process";
    }
    std::string_view line = text.substr(begin + 3);
    nextWord(line);
    std::string const host = escaped(nextWord(line));
    return "process " + escaped(nextWord(line)) + " on " + host;
}

std::string listed(KrRealVector const& point) {
    std::string text;
    for (double const x : point) {
        text += (text.empty() ? "(" : ", ") + number(x);
    }
    return text + ')';
}

}  // namespace

// The open file of a running search.
class KrEvaluationRecord::File {
public:
    explicit File(int descriptor) : descriptor_(descriptor) {
        std::scoped_lock const lock(OpenFiles::instance().mutex);
        OpenFiles::instance().descriptors.push_back(&descriptor_);
        rlimit limit{};
        isLimited_ = getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur != RLIM_INFINITY;
    }
    ~File() {
        std::scoped_lock const lock(OpenFiles::instance().mutex);
        std::erase(OpenFiles::instance().descriptors, &descriptor_);
        if (descriptor_ >= 0) {  // not in a child
            close(descriptor_);
        }
    }
    File(File const&) = delete;
    File& operator=(File const&) = delete;

    int descriptor() const { return descriptor_; }

    // Appends whole lines, or nothing: what a failed write leaves is cut off again.
    bool append(std::string const& lines) {
        std::optional<KrFileSizeSignal> blocked;
        if (isLimited_) {
            blocked.emplace();
        }
        std::size_t done = 0;
        while (done < lines.size()) {
            ssize_t const count = write(descriptor_, lines.data() + done, lines.size() - done);
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count <= 0) {
                int const error = count < 0 ? errno : ENOSPC;
                if (done > 0 && ftruncate(descriptor_, lseek(descriptor_, 0, SEEK_END) -
                                                           static_cast<off_t>(done)) != 0) {
                    // The torn line is the last one, which the next run cuts off.
                }
                errno = error;
                return false;
            }
            done += static_cast<std::size_t>(count);
        }
        return true;
    }

    void makeDurable(double after) {
        auto const time = std::chrono::steady_clock::now();
        if (after <= 0.0 || std::chrono::duration<double>(time - durable_).count() >= after) {
            fdatasync(descriptor_);
            durable_ = time;
        }
    }

private:
    int descriptor_;
    bool isLimited_ = true;
    std::chrono::steady_clock::time_point durable_ = std::chrono::steady_clock::now();
};

KrEvaluationRecord::KrEvaluationRecord() = default;

KrEvaluationRecord::KrEvaluationRecord(std::string path) : path_(std::move(path)) {}

KrEvaluationRecord::~KrEvaluationRecord() = default;

// --- Reading.

bool KrEvaluationRecord::refuse(std::size_t line, std::string const& expected) const {
    report(Kr::PrintType::Error, path_ + ':' + std::to_string(line) + ": " + expected);
    return false;
}

bool KrEvaluationRecord::load() {
    int const descriptor = open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0) {
        report(Kr::PrintType::Error,
               path_ + ": expected a record, cannot open it: " + std::strerror(errno));
        return false;
    }
    std::string text;
    bool const isRead = S_ISREG(status.st_mode) && readAll(descriptor, text);
    close(descriptor);
    if (!isRead) {
        report(Kr::PrintType::Error, path_ + ": expected a readable regular file");
        return false;
    }
    std::size_t good = 0;
    if (!parse(text, good, KrSearch())) {
        return false;
    }
    return search_ || refuse(1, "expected a record with its search, found only a part of one");
}

// Parses the lines of a text up to a torn last one. Sets `good` to the number of their bytes.
bool KrEvaluationRecord::parse(std::string_view text, std::size_t& good,
                               KrSearch const& prototype) {
    search_.reset();
    entries_.clear();
    asked_.clear();
    runs_.clear();
    good = 0;
    for (std::size_t line = 1; good < text.size(); ++line) {
        std::size_t const end = text.find('\n', good);
        if (end == std::string_view::npos) {
            std::string_view const start = line == 1 ? heading : text.substr(good);
            if (!start.starts_with(text.substr(good))) {
                return refuse(line, "expected \"zeibreku-record 1\", found something else");
            }
            return true;
        }
        if (!parseLine(text.substr(good, end - good), line, prototype)) {
            return false;
        }
        good = end + 1;
    }
    return true;
}

bool KrEvaluationRecord::parseLine(std::string_view line, std::size_t number,
                                   KrSearch const& prototype) {
    if (number == 1) {
        if (line == heading.substr(0, heading.size() - 1)) {
            return true;
        }
        bool const isOther = line.starts_with("zeibreku-record ");
        return refuse(1, std::string("expected \"zeibreku-record 1\", found ") +
                             (isOther ? "a record of another format" : "something else"));
    }
    std::optional<std::string_view> const sealedText = unsealed(line);
    if (!sealedText) {
        return refuse(number, "expected a line with its checksum, found a damaged one");
    }
    if (number == 2) {
        auto search = std::make_unique<KrSearch>(prototype);
        if (!KrXml::fromString(unescaped(*sealedText), *search)) {
            return refuse(number, "expected a search, found something else");
        }
        search_ = std::move(search);
        return true;
    }
    std::string_view rest = *sealedText;
    std::string_view const kind = nextWord(rest);
    auto const bad = [&](char const* what) {
        return refuse(number, std::string("expected ") + what + ", found another line");
    };
    if (kind == "r") {
        Run run;
        run.time = nextWord(rest);
        run.host = nextWord(rest);
        run.process = nextWord(rest);
        run.version = nextWord(rest);
        run.evaluations = asked_.size();
        runs_.push_back(std::move(run));
        return parseLimits(rest) || bad("a run with its five limits");
    }
    std::optional<std::uint64_t> const first = parsedCount(nextWord(rest));
    std::optional<std::uint64_t> const second = parsedCount(nextWord(rest));
    // Tickets end far below, so that the next one is always a number.
    if (!first || !second || *first > largestTicket || runs_.empty()) {
        return bad("a run, an evaluation or its number");
    }
    if (kind == "a") {
        if (*first != asked_.size() || !entries_.contains(*second) || !rest.empty()) {
            return bad("the next evaluation of the search, of a known ticket");
        }
        asked_.push_back(*second);
        return true;
    }
    if (kind != "e" || entries_.contains(*first)) {
        return bad("an evaluation of a new ticket");
    }
    if (*second > std::numeric_limits<KrU32>::max()) {
        return bad("an evaluation with its worker");
    }
    Entry entry;
    entry.worker = static_cast<KrU32>(*second);
    entry.run = runs_.size() - 1;
    std::optional<double> const start = parsedNumber(nextWord(rest));
    std::optional<double> const seconds = parsedNumber(nextWord(rest));
    if (!start || !seconds) {
        return bad("an evaluation with its times");
    }
    entry.start = *start;
    entry.seconds = *seconds;
    for (KrU32 i = 0; i < search_->variables().size(); ++i) {
        std::optional<double> const x = parsedNumber(nextWord(rest));
        if (!x) {
            return bad("an evaluation with its coordinates");
        }
        entry.point.push_back(*x);
    }
    if (rest.starts_with("failed \"") && rest.ends_with('"')) {
        entry.failed = true;
        entry.value = std::numeric_limits<double>::quiet_NaN();
        entry.text = unescaped(rest.substr(8, rest.size() - 9));
    } else if (std::optional<double> const value = parsedNumber(rest)) {
        entry.value = *value;
    } else {
        return bad("an evaluation with its value");
    }
    entries_.emplace(*first, std::move(entry));
    return true;
}

// The search of the record has the limits of its last run.
bool KrEvaluationRecord::parseLimits(std::string_view text) {
    std::optional<std::uint64_t> const maxEvaluations = parsedCount(nextWord(text));
    std::optional<double> const maxSeconds = parsedNumber(nextWord(text));
    std::optional<double> const targetValue = parsedNumber(nextWord(text));
    std::optional<std::uint64_t> const stallEvaluations = parsedCount(nextWord(text));
    std::optional<double> const stallImprovement = parsedNumber(nextWord(text));
    constexpr std::uint64_t largest = std::numeric_limits<KrU32>::max();
    if (!maxEvaluations || *maxEvaluations > largest || !maxSeconds || !targetValue ||
        !stallEvaluations || *stallEvaluations > largest || !stallImprovement || !text.empty()) {
        return false;
    }
    search_->setMaxEvaluations(static_cast<KrU32>(*maxEvaluations));
    search_->setMaxSeconds(*maxSeconds);
    search_->setTargetValue(*targetValue);
    search_->setStallEvaluations(static_cast<KrU32>(*stallEvaluations));
    search_->setStallImprovement(*stallImprovement);
    return true;
}

// --- Writing.

bool KrEvaluationRecord::begin(KrSearch const& search) {
    if (isHeld_) {
        return isSame(search);
    }
    if (!path_.empty()) {
        return openFile(search);
    }
    if (search_ && !isSame(search)) {
        return false;
    }
    search_ = std::make_unique<KrSearch>(search);
    runs_.push_back({now(), hostName(), std::to_string(getpid()), KR_VERSION, asked_.size()});
    return true;
}

bool KrEvaluationRecord::hold(KrSearch const& search) {
    if (isHeld_) {
        report(Kr::PrintType::Error, (path_.empty() ? "record" : path_) +
                                         ": expected a record that is not in use, found that of "
                                         "another KrAskTell");
        return false;
    }
    isHeld_ = begin(search);
    return isHeld_;
}

bool KrEvaluationRecord::isSame(KrSearch const& search) const {
    std::string const difference = search_->firstDifference(search);
    if (!difference.empty()) {
        report(Kr::PrintType::Error, (path_.empty() ? "record" : path_ + ":2") +
                                         ": expected the record of this search, found one whose " +
                                         difference + " differs");
    }
    return difference.empty();
}

bool KrEvaluationRecord::openFile(KrSearch const& search) {
    file_.reset();
    // Without O_NONBLOCK, opening a pipe waits for its other end.
    int const descriptor =
        open(path_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, 0666);
    if (descriptor < 0) {
        report(Kr::PrintType::Error,
               path_ + ": expected a record, cannot open it: " + std::strerror(errno));
        return false;
    }
    auto file = std::make_unique<File>(descriptor);
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        report(Kr::PrintType::Error, path_ + ": expected a regular file, found another kind");
        return false;
    }
    bool isLocked = true;
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        isLocked = errno != EWOULDBLOCK;
        if (isLocked) {
            report(Kr::PrintType::Warning, path_ +
                                               ": the file system has no locks, a second search "
                                               "with this record would not be noticed");
        }
    }
    std::string text;
    if (!readAll(descriptor, text)) {
        report(Kr::PrintType::Error, path_ + ": cannot read it: " + std::strerror(errno));
        return false;
    }
    if (!isLocked) {
        report(Kr::PrintType::Error, path_ + ": expected a record of its own, found one that " +
                                         lastWriter(text) + " writes to");
        return false;
    }
    // A clone of this search reads the recorded one: its containers know the creators of a
    // client's elements.
    std::size_t good = 0;
    if (!parse(text, good, search) || (search_ && !isSame(search))) {
        return false;
    }
    bool const isNew = !search_;
    good = isNew ? 0 : good;
    if (good < text.size()) {
        report(Kr::PrintType::Warning,
               path_ + ':' + std::to_string(std::ranges::count(text.substr(0, good), '\n') + 1) +
                   ": cut off a torn last line");
        if (ftruncate(descriptor, static_cast<off_t>(good)) != 0) {
            report(Kr::PrintType::Error, path_ + ": cannot cut it: " + std::strerror(errno));
            return false;
        }
    }
    search_ = std::make_unique<KrSearch>(search);
    Run const run{now(), hostName(), std::to_string(getpid()), KR_VERSION, asked_.size()};
    std::string lines;
    if (isNew) {
        std::string const document = KrXml::toString(search);
        KrSearch copy(search);
        if (!KrXml::fromString(document, copy) || !copy.firstDifference(search).empty()) {
            report(Kr::PrintType::Error,
                   path_ + ": expected a search that can be written and read back as it is");
            return false;
        }
        lines = std::string(heading) + sealed(escaped(document));
    }
    lines +=
        sealed("r " + run.time + ' ' + run.host + ' ' + run.process + ' ' + run.version + ' ' +
               std::to_string(search.maxEvaluations()) + ' ' + number(search.maxSeconds()) + ' ' +
               number(search.targetValue()) + ' ' + std::to_string(search.stallEvaluations()) +
               ' ' + number(search.stallImprovement()));
    runs_.push_back(run);
    file_ = std::move(file);
    return append(lines);
}

bool KrEvaluationRecord::append(std::string const& lines) {
    if (!file_) {
        return true;  // in memory, or given up
    }
    if (!file_->append(lines)) {
        report(Kr::PrintType::Error,
               path_ + ": cannot write to it: " + std::strerror(errno) +
                   (endsOnError_ ? "; the search ends" : "; the search goes on without it"));
        file_.reset();
        return !endsOnError_;
    }
    if (std::isfinite(durableAfter_)) {
        file_->makeDurable(durableAfter_);
    }
    return true;
}

// Adds a complete evaluation. If the search does not take it at once, its line waits for the next
// one or for `flush`, so that most evaluations cost one write.
bool KrEvaluationRecord::add(std::uint64_t ticket, Entry entry, bool isTaken) {
    if (file_) {
        std::string text = "e " + std::to_string(ticket) + ' ' + std::to_string(entry.worker) +
                           ' ' + milliseconds(entry.start) + ' ' + milliseconds(entry.seconds);
        for (double const x : entry.point) {
            text += ' ' + number(x);
        }
        text +=
            ' ' + (entry.failed ? "failed \"" + escaped(entry.text) + '"' : number(entry.value));
        lines_ += sealed(text);
    }
    entry.run = runs_.size() - 1;
    entries_.emplace_hint(entries_.end(), ticket, std::move(entry));
    return !isTaken || take(ticket);
}

// The search takes an evaluation that is in the record.
bool KrEvaluationRecord::take(std::uint64_t ticket) {
    if (file_) {
        lines_ += sealed("a " + std::to_string(asked_.size()) + ' ' + std::to_string(ticket));
    }
    asked_.push_back(ticket);
    return flush();
}

bool KrEvaluationRecord::flush() { return lines_.empty() || append(std::exchange(lines_, {})); }

void KrEvaluationRecord::end() {
    if (isHeld_) {
        return;
    }
    flush();
    if (file_ && std::isfinite(durableAfter_)) {
        file_->makeDurable(0.0);
    }
    file_.reset();
}

std::string KrEvaluationRecord::verify() const {
    KrEvaluationRecord copy;
    copy.search_ = std::make_unique<KrSearch>(*search_);
    copy.entries_ = entries_;
    copy.asked_ = asked_;
    copy.runs_ = runs_;
    // Every run had limits of its own; what the search asks for does not depend on them. Over
    // remembered points, the optimizer could run on beyond the record, perhaps forever.
    KrSearch search(*search_);
    search.setMaxEvaluations(static_cast<KrU32>(std::max<std::size_t>(asked_.size(), 1)));
    search.setMaxSeconds(std::numeric_limits<double>::infinity());
    search.setTargetValue(std::numeric_limits<double>::quiet_NaN());
    search.setStallEvaluations(0);
    KrNoWorkers workers;
    KrSearchContext const context{.record = &copy};
    KrSearchRun run(search, workers, context);
    run.run();
    if (run.evaluations() < asked_.size()) {
        std::uint64_t const ticket = asked_[run.evaluations()];
        return "evaluation " + std::to_string(run.evaluations()) + " differs: the record has " +
               listed(entries_.at(ticket).point) + ", the search " +
               (run.divergence() ? "asks for " + listed(*run.divergence()) : "has ended");
    }
    return "same";
}
