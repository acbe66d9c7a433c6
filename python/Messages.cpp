#include "python/Messages.h"

#include "python/Calls.h"
#include "python/Module.h"

#include <atomic>
#include <mutex>

namespace py = pybind11;

thread_local MessageCollector* MessageCollector::current_ = nullptr;

namespace {

// Lives as long as the process: a thread may print after the interpreter has ended.
struct Kept {
    std::mutex mutex;
    std::vector<Kr::Message> messages;
    std::atomic<bool> isEmpty = true;
    Kr::Print::Sink former;
    PyObject* logger = nullptr;
};

Kept& kept() {
    static Kept* const all = new Kept;
    return *all;
}

void keep(Kr::Message const& message) {
    std::lock_guard const lock(kept().mutex);
    kept().messages.push_back(message);
    if (kept().isEmpty.exchange(false)) {
        // For a thread that does not come back to Python soon. A full queue is no loss: the next
        // call delivers.
        static_cast<void>(Py_AddPendingCall([](void*) { return deliverMessages(), 0; }, nullptr));
    }
}

void sink(Kr::Message const& message) {
    if (MessageCollector* const collector = MessageCollector::current()) {
        collector->add(message);
    } else {
        keep(message);
    }
}

// The text on one line: a blank replaces each line end and the tabs after it.
std::string onOneLine(std::string text) {
    while (text.ends_with('\n')) {
        text.pop_back();
    }
    std::string line;
    for (char const c : text) {
        if (c != '\n' && c != '\t') {
            line += c;
        } else if (!line.ends_with(' ')) {
            line += ' ';
        }
    }
    return line;
}

py::str textOf(Kr::Message const& message) {
    std::string const line = onOneLine(message.text);
    // A name in a malformed document may be cut inside of a character.
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeUTF8(line.data(), static_cast<Py_ssize_t>(line.size()), "replace"));
}

}  // namespace

void deliverMessages() noexcept {
    if (kept().isEmpty) {
        return;
    }
    try {
        std::vector<Kr::Message> messages;
        {
            std::lock_guard const lock(kept().mutex);
            messages.swap(kept().messages);
            kept().isEmpty = true;
        }
        py::error_scope const scope;  // an exception may be under way
        for (Kr::Message const& message : messages) {
            try {
                constexpr int warning = 30;
                constexpr int error = 40;
                int const level = message.type == Kr::PrintType::Warning ? warning : error;
                py::object const log = py::handle(kept().logger).attr("log");
                py::tuple const arguments = py::make_tuple(level, "%s", textOf(message));
                if (!py::reinterpret_steal<py::object>(callPython(
                        [&] { return PyObject_CallObject(log.ptr(), arguments.ptr()); }))) {
                    throw py::error_already_set();
                }
            } catch (py::error_already_set& exception) {
                exception.discard_as_unraisable("zeibreku: a message to logging");
            }
        }
    } catch (...) {
        // Without memory the messages are lost.
    }
}

py::list MessageCollector::texts() const {
    py::list list;
    for (Kr::Message const& message : messages_) {
        list.append(textOf(message));
    }
    return list;
}

void MessageCollector::pass() {
    for (Kr::Message const& message : messages_) {
        keep(message);
    }
    messages_.clear();
}

void bindMessages(py::module_& module) {
    kept().logger = py::module_::import("logging").attr("getLogger")("zeibreku").release().ptr();
    kept().former = Kr::Print::instance().setSink(sink);
    py::module_::import("atexit").attr("register")(py::cpp_function([] {
        deliverMessages();
        Kr::Print::instance().setSink(kept().former);
    }));
    module.def("_deliver_messages", &deliverMessages);
}
