#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlWriter.h"
#include "function/composite/KrCompositeFunctionBranch.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "python/Calls.h"
#include "python/Element.h"
#include "python/Values.h"
#include "search/KrSearchCreators.h"

#include <cstring>
#include <ostream>
#include <streambuf>

namespace py = pybind11;

namespace {

// A branch creates its children by its container. As the root of a document it has none, so it gets
// one for all, which is never destroyed.
KrXmlObject* createBranch() {
    static auto const* const home = new KrCompositeFunctionContainer;
    auto* const branch = new KrCompositeFunctionBranch;
    branch->setContainer(home);
    return branch;
}

KrXmlFactory factory() {
    KrXmlFactory all = KrSearchCreators::factory();
    all.registerCreator(KrFunction::KrCompositeFunctionBranchToken, createBranch);
    return all;
}

// Reads a document by `read`: the element and what was printed meanwhile. None if the document was
// refused; the warnings of one that was not go to the logger.
template <class Read>
py::tuple readDocument(Read const& read) {
    std::unique_ptr<KrXmlObject> element;
    py::list texts;
    {
        MessageCollector messages;
        {
            GilRelease const release;
            element = read();
        }
        if (element) {
            messages.pass();
        } else {
            texts = messages.texts();
        }
    }
    return py::make_tuple(element ? elementToPython(std::move(element)) : py::none(), texts);
}

// A stream into a bytes object, which grows in place: a large block of memory is moved to where it
// has room, not copied. If there is no room, the stream fails and MemoryError is set. Text is
// written without the GIL, which is taken to grow.
class BytesBuffer : public std::streambuf {
public:
    BytesBuffer() = default;
    ~BytesBuffer() override { Py_XDECREF(bytes_); }
    BytesBuffer(BytesBuffer const&) = delete;
    BytesBuffer& operator=(BytesBuffer const&) = delete;

    /// The bytes so far. Call it once, with the GIL. Throws the exception that is set.
    py::bytes take() {
        if (!bytes_ || _PyBytes_Resize(&bytes_, size_) != 0) {
            throw py::error_already_set();
        }
        return py::reinterpret_steal<py::bytes>(std::exchange(bytes_, nullptr));
    }

protected:
    std::streamsize xsputn(char const* text, std::streamsize size) override {
        if (bytes_ && PyBytes_GET_SIZE(bytes_) - size_ < size) {
            callPython([&] {
                PyGILState_STATE const state = PyGILState_Ensure();
                _PyBytes_Resize(&bytes_, 2 * (size_ + size));
                PyGILState_Release(state);
            });
        }
        if (!bytes_) {
            return 0;
        }
        std::memcpy(PyBytes_AS_STRING(bytes_) + size_, text, static_cast<std::size_t>(size));
        size_ += size;
        return size;
    }

private:
    PyObject* bytes_ = PyBytes_FromStringAndSize(nullptr, 1 << 10);
    py::ssize_t size_ = 0;
};

[[noreturn]] void throwMessages(MessageCollector const& messages) {
    std::string all;
    for (py::handle const line : messages.texts()) {
        all += (all.empty() ? "" : "\n") + std::string(py::str(line));
    }
    throw py::value_error(all);
}

// Of a copy: without the GIL another thread may change the element.
py::bytes documentOf(KrXmlObject const& element) {
    std::unique_ptr<KrXmlObject> const copy(element.clone());
    MessageCollector messages;
    BytesBuffer buffer;
    bool good = false;
    {
        GilRelease const release;
        std::ostream stream(&buffer);
        KrXmlWriter writer("", stream);
        krXmlWriteElement(writer, copy->token(), *copy);
        good = writer.flush();
    }
    if (!good && !PyErr_Occurred()) {
        throwMessages(messages);
    }
    py::bytes document = buffer.take();
    messages.pass();
    return document;
}

std::string schemaOf(KrXmlObject const& element) {
    MessageCollector messages;
    std::string text = KrXml::schemaToString(element);
    if (text.empty()) {
        throwMessages(messages);
    }
    messages.pass();
    return text;
}

}  // namespace

void bindDocuments(py::module_& module, ElementBase& element) {
    element
        .def(
            "to_xml", [](KrXmlObject const& self) { return py::str(documentOf(self)); },
            py::call_guard<MessageDelivery>(),
            "Return the XML document of the element, from which `from_xml` makes an equal one.")
        .def("_to_bytes", &documentOf, py::call_guard<MessageDelivery>())
        .def("_schema", &schemaOf, py::call_guard<MessageDelivery>())
        .def("_write", [](KrXmlObject const& self, std::string const& path) {
            std::unique_ptr<KrXmlObject> const copy(self.clone());
            MessageCollector const messages;
            bool good = false;
            {
                GilRelease const release;
                good = KrXml::writeFile(path, *copy);
            }
            return py::make_tuple(good, messages.texts());
        });

    module.def(
        "_read_text",
        [](py::handle value) {
            std::string const text =
                PyBytes_Check(value.ptr()) ? value.cast<std::string>() : textFrom(value, "text");
            return readDocument([&] { return KrXml::fromString(text, factory()); });
        },
        py::call_guard<MessageDelivery>());
    module.def(
        "_read_file",
        [](std::string const& path) {
            return readDocument([&] { return KrXml::readFile(path, factory()); });
        },
        py::call_guard<MessageDelivery>());
    module.def("_schema", [] {
        GilRelease const release;
        return KrXml::schemaToString(KrSearchCreators::factory());
    });
}
