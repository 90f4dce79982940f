#include "Error.h"

#include <pybind11/eval.h>
#include <pybind11/pybind11.h>

#include "GenApi/GCException.h"

namespace py = pybind11;

namespace lumopy {

namespace {

// Defined in Python so that the classes carry their attributes the ordinary way.
constexpr const char* kErrorClasses = R"py(
class Error(Exception):
    """A failure of the camera library.

    ``code`` is the library's result code (an int) when the failed call gave one,
    else None; ``message`` is the readable text.
    """

    def __init__(self, message, code=None):
        super().__init__(message if code is None else f"{message} (code {code})")
        self.message = message
        self.code = code


class GrabTimeout(Error, TimeoutError):
    """No image arrived within the time-out of ``Camera.grab``."""


class FeatureError(Error):
    """A node map refused to read, write or describe a feature."""


class ConversionError(Error):
    """A pixel conversion failed; ``code`` is the conversion status."""
)py";

py::object g_classes[4];

py::object& ClassOf(ErrorKind kind) {
    return g_classes[static_cast<int>(kind)];
}

void Raise(ErrorKind kind, const std::string& message, std::optional<int> code) {
    py::object args = code ? py::make_tuple(message, *code) : py::make_tuple(message);
    PyErr_SetObject(ClassOf(kind).ptr(), args.ptr());
}

}  // namespace

void RegisterErrors(py::module_& module) {
    py::dict scope;
    scope["__name__"] = module.attr("__name__");
    scope["__builtins__"] = py::module_::import("builtins");
    py::exec(kErrorClasses, scope);
    const char* names[] = {"Error", "GrabTimeout", "FeatureError", "ConversionError"};
    for (int i = 0; i < 4; ++i) {
        // Leaked on purpose: the translator may run while the module is torn down.
        g_classes[i] = scope[names[i]];
        g_classes[i].inc_ref();
        module.attr(names[i]) = g_classes[i];
    }
    py::register_exception_translator([](std::exception_ptr error) {
        try {
            if (error) {
                std::rethrow_exception(error);
            }
        } catch (const Error& e) {
            Raise(e.Kind(), e.what(), e.Code());
        } catch (const GenICam::GenericException& e) {
            Raise(ErrorKind::Feature, e.GetDescription(), std::nullopt);
        }
    });
}

}  // namespace lumopy
