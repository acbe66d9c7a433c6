#include "foundation/xml/KrXmlReader.h"

#include "foundation/core/KrPrint.h"
#include "foundation/core/internal/KrClosest.h"
#include "foundation/xml/KrXmlFactory.h"
#include "foundation/xml/KrXmlObserver.h"
#include "foundation/xml/internal/KrCharacters.h"

#include <expat.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <istream>
#include <iterator>
#include <new>
#include <set>
#include <utility>

KR_SOURCE_VERSION;

namespace {

bool isBlank(std::string_view text) {
    for (char const c : text) {
        if (!krXmlIsBlank(c)) {
            return false;
        }
    }
    return true;
}

// Whether a terminal interprets the character instead of showing it: controls, line and
// paragraph ends, and characters that change the direction of text.
bool isControl(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code <= 0x9F) || code == 0x61C || code == 0x200E ||
           code == 0x200F || (code >= 0x2028 && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

std::string escaped(char32_t code) {
    switch (code) {
        case '\n': return "\\n";
        case '\r': return "\\r";
        case '\t': return "\\t";
        default: break;
    }
    char digits[8];
    return "\\u{" +
           std::string(
               digits,
               std::to_chars(digits, digits + sizeof digits, static_cast<KrU32>(code), 16).ptr) +
           '}';
}

std::vector<KrToken> tagsOf(KrXmlReader::KnownTags const& known) {
    return known ? known() : std::vector<KrToken>();
}

// " (alpha, beta)" with the first five names.
std::string listed(std::vector<KrToken> const& known) {
    constexpr std::size_t most = 5;
    std::string list;
    std::size_t count = 0;
    for (KrToken const& tag : known) {
        if (++count > most) {
            list += ", ...";
            break;
        }
        list.append(count == 1 ? " (" : ", ").append(tag.localName());
    }
    return count == 0 ? list : list + ')';
}

// `element "alhpa"` with the closest name of `known` and of the factory, if one is close.
std::string unknown(std::string const& kind, std::string_view name,
                    std::vector<KrToken> const& known, KrXmlFactory const* factory) {
    std::vector<std::string_view> candidates;
    candidates.reserve(known.size());
    for (KrToken const& tag : known) {
        candidates.push_back(tag.localName());
    }
    if (factory) {
        for (auto const& [tag, creator] : factory->creatorMap()) {
            candidates.push_back(tag.localName());
        }
    }
    std::string const found = kind + ' ' + krXmlQuoted(name);
    std::string_view const closest = krClosest(name, candidates);
    return closest.empty() ? found : found + ": did you mean " + krXmlQuoted(closest) + '?';
}

// Separates the namespace from the local name in the names of expat. No document can contain
// this character.
constexpr char separator = '\x01';

// Whether an attribute only states where a schema is found.
bool isSchemaLocation(std::string_view name) {
    constexpr std::string_view instance = "http://www.w3.org/2001/XMLSchema-instance\x01";
    return name.starts_with(instance) &&
           (name.substr(instance.size()) == "schemaLocation" ||
            name.substr(instance.size()) == "noNamespaceSchemaLocation");
}

// Sets `text` to that of a name's token. If the namespace does not end in '#', the text is
// "{namespace}local": concatenated, such a name could equal a token of another namespace.
void setTokenText(std::string& text, std::string_view name) {
    std::size_t const end = name.find(separator);
    if (end == std::string_view::npos) {
        text = name;
    } else if (name.substr(0, end).ends_with('#')) {
        text.assign(name.substr(0, end)).append(name.substr(end + 1));
    } else {
        text.assign("{").append(name.substr(0, end)).append("}").append(name.substr(end + 1));
    }
}

// The local name of a token that `setTokenText` made.
std::string_view localName(KrToken const& token) {
    std::string const& text = token;
    return text.starts_with('{') ? std::string_view(text).substr(text.rfind('}') + 1)
                                 : token.localName();
}

// The number of refusals of one document that are printed.
constexpr std::size_t mostRefusals = 1000;

// The longest namespace that is read, in bytes.
constexpr std::size_t longestNamespace = 1000;

// Expat copies the namespace for each attribute of a start tag as soon as it has reported the
// tag's declarations. Only a lack of memory stops it. Therefore allocation fails after a
// namespace was refused.
thread_local bool memoryIsRefused = false;

constexpr XML_Memory_Handling_Suite memory = {
    [](std::size_t size) { return memoryIsRefused ? nullptr : std::malloc(size); },
    [](void* old, std::size_t size) { return memoryIsRefused ? nullptr : std::realloc(old, size); },
    std::free};

// Whether a document with these first bytes is UTF-16: it begins with a byte order mark or an
// ASCII character.
bool startsAsUtf16(std::string_view text) {
    return text.size() > 1 && (text.starts_with("\xFE\xFF") || text.starts_with("\xFF\xFE") ||
                               text[0] == '\0' || text[1] == '\0');
}

// The number of continuation bytes of UTF-8.
std::size_t continuations(std::string_view text) {
    std::size_t count = 0;
    for (char const c : text) {
        count += (static_cast<unsigned char>(c) & 0xC0) == 0x80;
    }
    return count;
}

// The number of line ends in `text`; "\r\n" is one. Sums of one byte let the compiler count
// 16 bytes at a time: 16 KB take 0.8 instead of 16 us.
std::size_t lineEnds(std::string_view text) {
    std::size_t count = text.starts_with('\r') || text.starts_with('\n') ? 1 : 0;
    for (std::size_t begin = 1; begin < text.size(); begin += 255) {
        std::size_t const end = std::min(begin + 255, text.size());
        unsigned char sum = 0;
        for (std::size_t i = begin; i < end; ++i) {
            bool const isReturn = text[i] == '\r';
            bool const isFeed = text[i] == '\n';
            bool const isPair = text[i - 1] == '\r';
            sum = static_cast<unsigned char>(sum + (isReturn | (isFeed & !isPair)));
        }
        count += sum;
    }
    return count;
}

}  // namespace

// Expat pushes, the reader pulls: the parser turns a chunk of the document into a queue of
// events. When the queue is empty, it parses the next chunk. One string holds the texts of all
// events in the queue.
class KrXmlReader::Parser {
public:
    enum class Kind { Start, End, Text, Failure };
    struct Event {
        Kind kind;
        Place place;
        KrToken const* token = nullptr;
        KrU32 begin = 0;  // of a start tag's attributes or a text's characters
        KrU32 end = 0;
    };
    struct Attribute {
        KrToken const* name;
        KrU32 textBegin;
        KrU32 textEnd;
    };

    explicit Parser(std::istream& stream)
        : stream_(stream), expat_(XML_ParserCreate_MM(nullptr, &memory, &separator)) {
        if (!expat_) {
            throw std::bad_alloc();
        }
        events_.reserve(64);  // enough for a small document
        texts_.reserve(512);
        XML_SetUserData(expat_.get(), this);
        XML_SetElementHandler(expat_.get(), onStart, onEnd);
        XML_SetCharacterDataHandler(expat_.get(), onText);
        XML_SetXmlDeclHandler(expat_.get(), onXmlDecl);
        XML_SetStartDoctypeDeclHandler(expat_.get(), onDoctype);
        XML_SetStartNamespaceDeclHandler(expat_.get(), onNamespace);
    }

    // Whether the queue is empty, so that the next event needs the next chunk.
    bool isEmpty() const { return nextEvent_ == events_.size(); }

    // The next event, null at the document's end. It and its texts are valid until `next` is
    // called with an empty queue.
    Event const* next() {
        while (isEmpty()) {
            if (finished_) {
                return nullptr;
            }
            parseChunk();
        }
        return &events_[nextEvent_++];
    }

    // Takes the text and the end tag behind a start tag if both are in the queue, as they are
    // for almost every element that holds a text.
    bool takeTextAndEnd(std::string_view& taken) {
        if (events_.size() - nextEvent_ < 2 || events_[nextEvent_].kind != Kind::Text ||
            events_[nextEvent_ + 1].kind != Kind::End) {
            return false;
        }
        taken = text(events_[nextEvent_].begin, events_[nextEvent_].end);
        nextEvent_ += 2;
        return true;
    }

    std::string_view text(std::size_t begin, std::size_t end) const {
        return std::string_view(texts_).substr(begin, end - begin);
    }

    Attribute const& attribute(std::size_t index) const { return attributes_[index]; }

    // Computes the line and the column of an event's place, before the next chunk is parsed.
    // Calls follow the order of the document, so that each byte is counted once.
    void locate(Place& place) {
        if (place.line == 0) {
            std::string_view passed(origin_ + counted_, place.column - counted_);
            counted_ = place.column;
            if (std::size_t const ends = lineEnds(passed)) {
                counter_.line += static_cast<KrU32>(ends);
                counter_.column = 1;
                passed.remove_prefix(passed.find_last_of("\r\n") + 1);
            }
            counter_.column += static_cast<KrU32>(passed.size() - continuations(passed));
            place = counter_;
        }
    }

    std::size_t bytesRead() const { return bytesRead_; }
    std::size_t bytesLeft() const {
        std::streamsize const left = finished_ ? 0 : stream_.rdbuf()->in_avail();
        return static_cast<std::size_t>(std::max<std::streamsize>(left, 0));
    }

    void setDepthLimit(std::size_t limit) { depthLimit_ = limit; }
    std::size_t depthLimit() const { return depthLimit_; }

    void setObserver(KrXmlObserver* observer) {
        observer_ = observer;
        XML_SetCommentHandler(expat_.get(), observer ? onComment : nullptr);
    }

    // The message of the failure event.
    std::string expected;
    std::string found;

    // The range of attributes of the current start tag that are not read yet.
    std::size_t nextAttribute = 0;
    std::size_t attributesEnd = 0;

private:
    static constexpr int chunkSize = 1 << 14;
    static constexpr int largestChunk = 1 << 28;

    // Finds a name without constructing a token. Compares the lengths first: most names differ
    // in length, and all begin with the same namespace.
    struct InOrder {
        using is_transparent = void;
        bool operator()(std::string const& a, std::string const& b) const {
            return a.size() != b.size() ? a.size() < b.size() : a < b;
        }
    };
    struct Comment {
        std::size_t before;  // the index of the event behind it
        Place place;
        std::string text;
    };
    struct Free {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    void parseChunk() {
        events_.clear();
        attributes_.clear();
        texts_.clear();
        comments_.clear();
        nextEvent_ = 0;
        nextAttribute = attributesEnd = 0;
        origin_ = nullptr;
        void* const buffer = XML_GetBuffer(expat_.get(), size_);
        if (!buffer) {
            throw std::bad_alloc();
        }
        stream_.read(static_cast<char*>(buffer), size_);
        int const count = static_cast<int>(stream_.gcount());
        bool const unreadable = stream_.bad();
        if (bytesRead_ == 0) {
            isUtf8_ =
                !startsAsUtf16({static_cast<char const*>(buffer), static_cast<std::size_t>(count)});
        }
        finished_ = count < size_;
        bytesRead_ += static_cast<std::size_t>(count);
        XML_Status const status = XML_ParseBuffer(expat_.get(), count, finished_);
        bool const refused = std::exchange(memoryIsRefused, false);
        if (exception_) {
            std::rethrow_exception(std::exchange(exception_, nullptr));
        }
        if (unreadable) {
            fail("a readable document", "a read error");
        } else if (status != XML_STATUS_OK && !refused &&
                   XML_GetErrorCode(expat_.get()) != XML_ERROR_ABORTED) {
            XML_Error const error = XML_GetErrorCode(expat_.get());
            fail("well-formed XML", error == XML_ERROR_NO_ELEMENTS ? "the end of the document"
                                                                   : XML_ErrorString(error));
        }
        // Expat scans an unfinished tag or comment from its beginning with each chunk. Chunks
        // that double keep the time proportional to its length.
        size_ = events_.empty() ? std::min(2 * size_, largestChunk) : chunkSize;
        if (observer_) {
            show();
        }
    }

    // Shows the chunk to the observer. Locates each place, so that the reader need not.
    void show() {
        auto comment = comments_.begin();
        for (std::size_t i = 0; i <= events_.size(); ++i) {
            for (; comment != comments_.end() && comment->before == i; ++comment) {
                locate(comment->place);
                observer_->comment(comment->text, comment->place.line, comment->place.column);
            }
            if (i < events_.size()) {
                show(events_[i]);
            }
        }
    }

    void show(Event& event) {
        locate(event.place);
        switch (event.kind) {
            case Kind::Start:
                observer_->startElement(*event.token, event.place.line, event.place.column);
                for (KrU32 a = event.begin; a < event.end; ++a) {
                    observer_->attribute(*attributes_[a].name,
                                         text(attributes_[a].textBegin, attributes_[a].textEnd));
                }
                break;
            case Kind::Text: observer_->text(text(event.begin, event.end)); break;
            case Kind::End: observer_->endElement(); break;
            case Kind::Failure: break;
        }
    }

    Place currentPlace() const {
        return {static_cast<KrU32>(XML_GetCurrentLineNumber(expat_.get())),
                static_cast<KrU32>(XML_GetCurrentColumnNumber(expat_.get()) + 1)};
    }

    // The place of an event. Hardly any place is needed, and asking expat for all of them takes
    // 7 % of the time of reading. Behind the first event of a chunk, a place is therefore line
    // 0 and the bytes since that event; `locate` counts lines and columns in them.
    Place place() {
        XML_Index const index = XML_GetCurrentByteIndex(expat_.get());
        if (origin_) {
            return {0, static_cast<KrU32>(index - originIndex_)};
        }
        Place const place = currentPlace();
        int offset = 0;
        int size = 0;
        char const* const bytes = XML_GetInputContext(expat_.get(), &offset, &size);
        if (isUtf8_ && bytes) {
            origin_ = bytes + offset;
            originIndex_ = index;
            counted_ = 0;
            counter_ = place;
        }
        return place;
    }

    // The queue holds the texts of one chunk, far less than 4 GB.
    KrU32 textsSize() const { return static_cast<KrU32>(texts_.size()); }

    void push(Event const& event) {
        events_.push_back(event);
        lastKind_ = event.kind;
    }

    void fail(char const* what, char const* instead) {
        expected = what;
        found = instead;
        finished_ = true;
        XML_StopParser(expat_.get(), XML_FALSE);
        push({Kind::Failure, currentPlace()});
    }

    // The token of a name. A name longer than any token is cut.
    KrToken const* intern(char const* text) {
        // The items of a vector have one name, so that most names repeat the last one.
        if (!lastName_ || std::strncmp(text, lastText_.c_str(), lastText_.size() + 1) != 0) {
            std::string_view const name(text, strnlen(text, 2 * longestNamespace));
            lastName_ = nullptr;
            lastText_ = name;
            setTokenText(tokenText_, name);
            auto known = names_.find(tokenText_);
            if (known == names_.end()) {
                known = names_.insert(KrToken(tokenText_)).first;
            }
            lastName_ = &*known;
        }
        return lastName_;
    }

    void start(char const* name, char const** attributes) {
        if (++depth_ > depthLimit_) {
            fail(("nesting of at most " + std::to_string(depthLimit_) + " elements").c_str(),
                 "a deeper element");
            return;
        }
        KrU32 const first = static_cast<KrU32>(attributes_.size());
        KrToken const* const token = intern(name);
        for (; *attributes; attributes += 2) {
            if (!isSchemaLocation(attributes[0])) {
                KrU32 const begin = textsSize();
                texts_ += attributes[1];
                attributes_.push_back({intern(attributes[0]), begin, textsSize()});
            }
        }
        push({Kind::Start, place(), token, first, static_cast<KrU32>(attributes_.size())});
    }

    void end() {
        --depth_;
        push({Kind::End, {}});
    }

    void characters(std::string_view text) {
        // White space behind an end tag separates elements and is dropped. Behind a start tag
        // it may be the whole text of an element.
        if (lastKind_ == Kind::End && isBlank(text)) {
            return;
        }
        KrU32 const begin = textsSize();
        texts_ += text;
        if (!events_.empty() && lastKind_ == Kind::Text) {
            events_.back().end = textsSize();
        } else {
            push({Kind::Text, place(), nullptr, begin, textsSize()});
        }
    }

    // Exceptions must not pass through expat's frames: they are kept, and rethrown when expat
    // has returned.
    template <class Action>
    static void guarded(void* self, Action action) {
        Parser& parser = *static_cast<Parser*>(self);
        try {
            action(parser);
        } catch (...) {
            parser.exception_ = std::current_exception();
            parser.finished_ = true;
            XML_StopParser(parser.expat_.get(), XML_FALSE);
        }
    }
    static void onStart(void* self, char const* name, char const** attributes) {
        guarded(self, [&](Parser& parser) { parser.start(name, attributes); });
    }
    static void onEnd(void* self, char const*) {
        guarded(self, [](Parser& parser) { parser.end(); });
    }
    static void onText(void* self, char const* text, int length) {
        guarded(self, [&](Parser& parser) {
            parser.characters({text, static_cast<std::size_t>(length)});
        });
    }
    static void onComment(void* self, char const* text) {
        guarded(self, [&](Parser& parser) {
            parser.comments_.push_back({parser.events_.size(), parser.place(), text});
        });
    }
    // Besides UTF-16, the only encoding of expat whose bytes are not UTF-8 is ISO-8859-1.
    static void onXmlDecl(void* self, char const*, char const* encoding, int) {
        Parser& parser = *static_cast<Parser*>(self);
        parser.isUtf8_ = parser.isUtf8_ && !(encoding && (*encoding == 'I' || *encoding == 'i'));
    }
    // Stops before expat parses the content of the declaration.
    static void onDoctype(void* self, char const*, char const*, char const*, int) {
        guarded(self,
                [](Parser& parser) { parser.fail("no document type declaration", "<!DOCTYPE"); });
    }

    static void onNamespace(void* self, char const*, char const* uri) {
        std::size_t const length = uri ? std::strlen(uri) : 0;
        if (length > longestNamespace && !memoryIsRefused) {
            guarded(self, [&](Parser& parser) {
                std::string const most = std::to_string(longestNamespace);
                parser.fail(("a namespace of at most " + most + " bytes").c_str(),
                            ("one of " + std::to_string(length)).c_str());
            });
            memoryIsRefused = true;
        }
    }

    std::istream& stream_;
    int size_ = chunkSize;  // of the next chunk
    std::unique_ptr<std::remove_pointer_t<XML_Parser>, Free> expat_;
    std::size_t bytesRead_ = 0;
    bool isUtf8_ = true;
    char const* origin_ = nullptr;  // the first place of the chunk, null if no place needs counting
    XML_Index originIndex_ = 0;
    KrU32 counted_ = 0;  // bytes from the origin to that of `counter_`
    Place counter_;
    std::vector<Event> events_;
    std::vector<Attribute> attributes_;
    std::vector<Comment> comments_;  // only for an observer
    std::string texts_;
    std::size_t nextEvent_ = 0;
    // The distinct names so far; entries never move. Not a hash table, since a document could
    // choose names that collide.
    std::set<KrToken, InOrder> names_;
    KrToken const* lastName_ = nullptr;
    std::string lastText_;   // the name in expat's form
    std::string tokenText_;  // the name in the form of its token
    std::size_t depth_ = 0;
    std::size_t depthLimit_ = defaultDepthLimit;
    Kind lastKind_ = Kind::Start;
    bool finished_ = false;
    std::exception_ptr exception_;
    KrXmlObserver* observer_ = nullptr;
};

KrXmlReader::KrXmlReader(std::istream& stream, std::string const& fileName)
    : parser_(std::make_unique<Parser>(stream)), fileName_(fileName) {
    open_.reserve(8);
}

KrXmlReader::~KrXmlReader() {
    try {
        tellOmitted();
    } catch (...) {  // a destructor must not pass on the exception of a sink
    }
}

// Takes the next event. Leaves the current element if it has ended, and enters the element
// that a start tag opens.
KrXmlReader::Step KrXmlReader::step(std::string_view& text) {
    if (stopped_) {
        return Step::None;
    }
    if (ended_) {
        open_.pop_back();
        ended_ = false;
    }
    if (parser_->isEmpty()) {
        locateOpen();
    }
    stopped_ = true;  // until the step is done, so that an exception ends the document
    Parser::Event const* const event = parser_->next();
    if (event && event->kind == Parser::Kind::Start) {
        open_.push_back({event->token, event->place});
    }
    stopped_ = event && event->kind == Parser::Kind::Failure;
    if (!event) {
        return Step::None;
    }
    switch (event->kind) {
        case Parser::Kind::Start:
            parser_->nextAttribute = event->begin;
            parser_->attributesEnd = event->end;
            return Step::Start;
        case Parser::Kind::End: ended_ = true; return Step::End;
        case Parser::Kind::Text:
            textPlace_ = event->place;
            text = parser_->text(event->begin, event->end);
            return Step::Text;
        default: refuseAt(event->place, parser_->expected, parser_->found); return Step::None;
    }
}

// Computes the places of all open elements. Those that are known come first.
void KrXmlReader::locateOpen() const {
    auto first = open_.end();
    while (first != open_.begin() && std::prev(first)->place.line == 0) {
        --first;
    }
    for (; first != open_.end(); ++first) {
        parser_->locate(first->place);
    }
}

KrXmlReader::Place KrXmlReader::place() const {
    locateOpen();
    return open_.empty() ? Place() : open_.back().place;
}

bool KrXmlReader::begin() {
    if (!begun_) {
        begun_ = true;
        std::string_view prolog;
        step(prolog);
    }
    return !stopped_ && !open_.empty();
}

KrBoolean KrXmlReader::nextChild(KnownTags const& known) {
    std::string_view text;
    bool strayText = false;  // a long text comes in several pieces and is refused once
    while (begin()) {
        switch (step(text)) {
            case Step::Start: return true;
            case Step::Text: strayText = strayText || isStray(text, known); break;
            default: return false;
        }
    }
    return false;
}

KrBoolean KrXmlReader::nextAttribute() {
    if (!begin() || parser_->nextAttribute == parser_->attributesEnd) {
        return false;
    }
    ++parser_->nextAttribute;
    return true;
}

KrToken const& KrXmlReader::attributeName() const {
    return *parser_->attribute(parser_->nextAttribute - 1).name;
}

std::string_view KrXmlReader::attributeValue() const {
    auto const& attribute = parser_->attribute(parser_->nextAttribute - 1);
    return parser_->text(attribute.textBegin, attribute.textEnd);
}

KrBoolean KrXmlReader::readText(std::string_view& text) {
    text = {};
    if (!onElement()) {
        return false;
    }
    bool good = refuseAttributes();
    if (parser_->takeTextAndEnd(text)) {
        ended_ = true;
        return good;
    }
    text_.clear();
    std::size_t const own = open_.size();
    std::string_view part;
    while (!ended_ || open_.size() > own) {
        switch (step(part)) {
            case Step::Start:
                good = refuse("text alone", "element " + krXmlQuoted(localName(token())));
                close(depth());
                break;
            case Step::Text: text_ += part; break;
            case Step::End: break;
            case Step::None: return false;
        }
    }
    text = text_;
    return good;
}

void KrXmlReader::close(std::size_t depth) {
    std::string_view text;
    while (open_.size() > depth || (open_.size() == depth && !ended_)) {
        if (step(text) == Step::None) {
            return;
        }
    }
}

KrBoolean KrXmlReader::finish() {
    std::string_view text;
    begin();
    while (step(text) != Step::None) {
    }
    tellOmitted();
    return !stopped_;
}

KrBoolean KrXmlReader::refuse(std::string const& expected, std::string const& found) {
    return refuseAt(place(), expected, found);
}

KrBoolean KrXmlReader::refuseElement(KnownTags const& known) {
    KrToken const& tag = token();
    std::string_view const name = localName(tag);
    std::vector<KrToken> const tags = isMute() ? std::vector<KrToken>() : tagsOf(known);
    for (KrToken const& other : tags) {
        if (other.localName() == name && !(other == tag)) {
            return refuse("element " + krXmlQuoted(other.text()),
                          "element " + krXmlQuoted(tag.text()));
        }
    }
    return refuse("a known element" + listed(tags), unknown("element", name, tags, factory_));
}

KrBoolean KrXmlReader::refuseAttribute(KnownTags const& known) {
    std::vector<KrToken> const tags = isMute() ? std::vector<KrToken>() : tagsOf(known);
    return refuse("a known attribute" + listed(tags),
                  unknown("attribute", localName(attributeName()), tags, nullptr));
}

KrBoolean KrXmlReader::refuseAttributes() {
    bool none = true;
    while (nextAttribute()) {
        none = refuseAttribute();
    }
    return none;
}

bool KrXmlReader::refuseAt(Place place, std::string const& expected, std::string const& found) {
    bool const isOmitted = isMute();
    ++errorCount_;
    if (isOmitted) {
        ++omitted_;
        omittedPlace_ = place;
        return false;
    }
    std::string const where = open_.empty() ? "" : path() + ": ";
    Kr::Print::instance().write(Kr::PrintType::Error, "%s:%u:%u: %sexpected %s, found %s\n",
                                fileName_, place.line, place.column, where, expected, found);
    return false;
}

bool KrXmlReader::isMute() const { return errorCount_ >= mostRefusals; }

void KrXmlReader::tellOmitted() {
    if (std::size_t const count = std::exchange(omitted_, 0)) {
        Kr::Print::instance().write(
            Kr::PrintType::Error, "%s:%u:%u: expected at most %u refusals, found %u more\n",
            fileName_, omittedPlace_.line, omittedPlace_.column, mostRefusals, count);
    }
}

// Refuses text between elements, unless it is white space.
bool KrXmlReader::isStray(std::string_view text, KnownTags const& known) {
    std::string_view const visible = krXmlTrimmed(text);
    if (visible.empty()) {
        return false;
    }
    locateOpen();
    parser_->locate(textPlace_);
    for (char const* c = text.data(); c != visible.data(); ++c) {
        bool const newLine = *c == '\n';
        textPlace_.line += newLine;
        textPlace_.column = newLine ? 1 : textPlace_.column + 1;
    }
    refuseAt(textPlace_, "elements alone" + listed(tagsOf(known)), "text " + krXmlQuoted(visible));
    return true;
}

KrBoolean KrXmlReader::onElement() { return begin() && !ended_; }

KrToken const& KrXmlReader::token() {
    static KrToken const none;
    return begin() ? *open_.back().token : none;
}

std::size_t KrXmlReader::depth() {
    begin();
    return open_.size();
}

std::size_t KrXmlReader::bytesRead() const { return parser_->bytesRead(); }

std::size_t KrXmlReader::bytesLeft() const { return parser_->bytesLeft(); }

std::string KrXmlReader::path() const {
    std::vector<KrToken const*> tags;
    tags.reserve(open_.size());
    for (OpenElement const& element : open_) {
        tags.push_back(element.token);
    }
    return krXmlPath(tags);
}

void KrXmlReader::setObserver(KrXmlObserver* observer) { parser_->setObserver(observer); }

void KrXmlReader::setDepthLimit(std::size_t limit) { parser_->setDepthLimit(limit); }

std::size_t KrXmlReader::depthLimit() const { return parser_->depthLimit(); }

std::string krXmlPath(std::span<KrToken const* const> tags) {
    constexpr std::size_t ends = 4;  // names at each end of a deep path
    std::string path;
    for (std::size_t i = 0; i < tags.size(); ++i) {
        if (i > 0) {
            path += '/';
        }
        if (i == ends && tags.size() > 2 * ends + 1) {
            path += "...";
            i = tags.size() - ends - 1;
        } else {
            path += krXmlPrintable(localName(*tags[i]));
        }
    }
    return path;
}

std::string krXmlPrintable(std::string_view text, std::size_t longest) {
    std::string printable;
    for (std::string_view rest = text; !rest.empty();) {
        auto const [code, length] = krDecodeUtf8(rest);
        std::size_t const taken = std::max<std::size_t>(length, 1);
        if (text.size() - rest.size() + taken > longest) {
            return printable + "...";
        }
        if (length == 0 || isControl(code)) {
            printable += escaped(code);
        } else {
            printable += rest.substr(0, taken);
        }
        rest.remove_prefix(taken);
    }
    return printable;
}

std::string krXmlQuoted(std::string_view text) { return '"' + krXmlPrintable(text) + '"'; }
