// The Python module `lumogenicam`: cameras, features and grabbed images as
// NumPy arrays over the producer's buffers.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Camera.h"
#include "CameraRecord.h"
#include "Error.h"
#include "FeatureMap.h"
#include "ImageHolder.h"
#include "Library.h"
#include "PixelArrays.h"

namespace py = pybind11;
using namespace lumopy;
using namespace VEXOGENICAM;

namespace {

// A data-stream node map that, called, iterates images: `camera.stream` is
// the stream module's features, `camera.stream(n)` the next n images.
class StreamFeatures : public FeatureMap {
public:
    using FeatureMap::FeatureMap;
};

DEVICE_OPEN_MODE ParseOpenMode(const py::handle& mode) {
    if (py::isinstance<py::str>(mode)) {
        const std::string name = mode.cast<std::string>();
        if (name == "control")
            return DEVICE_OPEN_MODE_CONTROL;
        if (name == "exclusive")
            return DEVICE_OPEN_MODE_EXCLUSIVE;
        if (name == "readonly" || name == "read-only")
            return DEVICE_OPEN_MODE_READONLY;
        throw py::value_error("unknown open mode '" + name + "' (control, exclusive, readonly)");
    }
    return mode.cast<DEVICE_OPEN_MODE>();
}

GRAB_STRATEGY ParseStrategy(const py::handle& strategy) {
    if (py::isinstance<py::str>(strategy)) {
        const std::string name = strategy.cast<std::string>();
        if (name == "one_by_one" || name == "one-by-one")
            return GRAB_STRATEGY_ONE_BY_ONE;
        if (name == "latest")
            return GRAB_STRATEGY_LATEST_IMAGE;
        if (name == "upcoming")
            return GRAB_STRATEGY_UPCOMING_IMAGE;
        throw py::value_error("unknown strategy '" + name + "' (one_by_one, latest, upcoming)");
    }
    return strategy.cast<GRAB_STRATEGY>();
}

py::list Discover(const py::object& tl) {
    Library::Get().Require();
    unsigned long long mask = TL_TYPE_ALL;
    if (py::isinstance<py::str>(tl)) {
        mask = ParseTlMask(tl.cast<std::string>());
    } else if (PyIndex_Check(tl.ptr())) {
        mask = tl.cast<unsigned long long>();
    } else if (!tl.is_none()) {
        mask = 0;
        for (const py::handle item : tl) {
            mask |= ParseTlMask(py::str(item).cast<std::string>());
        }
    }
    std::list<ICameraInfo*> infos;
    {
        py::gil_scoped_release release;
        infos = Discovery(nullptr);
    }
    // Every record is owned before anything can throw, so none is leaked.
    std::vector<CameraRecord> records;
    std::exception_ptr failure;
    for (ICameraInfo* info : infos) {
        // A producer may serve several transport layers: each record counts by its own.
        if (failure || (static_cast<unsigned long long>(info->GetTLType()) & mask) == 0) {
            info->Release();
            continue;
        }
        try {
            records.push_back(CameraRecord::FromInfo(info, true));
        } catch (...) {
            failure = std::current_exception();
        }
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    return py::cast(records);
}

py::list ProducerReports() {
    Library::Get().Require();
    std::list<ProducerReport> reports;
    {
        py::gil_scoped_release release;
        reports = GetProducerReports();
    }
    py::list out;
    for (const ProducerReport& report : reports) {
        py::dict entry;
        entry["path"] = report.path;
        entry["origin"] = report.origin;
        entry["state"] = ProducerStateName(report.state);
        entry["reason"] = report.reason;
        entry["failed_step"] = report.failedStep;
        entry["error_code"] = report.errorCode;
        entry["producer_error"] = report.producerError;
        entry["tl_type"] = report.tlType;
        entry["vendor"] = report.vendor;
        entry["model"] = report.model;
        entry["version"] = report.version;
        entry["interface_count"] = report.interfaceCount;
        out.append(entry);
    }
    return out;
}

py::object PixelFormatNameOrNone(std::uint64_t code) {
    const char* name = PixelFormatName(code);
    return name != nullptr ? py::object(py::str(name)) : py::object(py::none());
}

void BindRecord(py::module_& m) {
    py::class_<CameraRecord>(m, "CameraRecord",
                             "A camera found by discover(); pass it to Camera() to open it.")
        .def_readonly("serial", &CameraRecord::serial, "Serial number.")
        .def_readonly("vendor", &CameraRecord::vendor)
        .def_readonly("model", &CameraRecord::model)
        .def_readonly("tl_type", &CameraRecord::tlType,
                      "Transport layer: 'GEV', 'U3V', 'CL', ... or 'unknown'.")
        .def_readonly("user_name", &CameraRecord::userName, "The user-defined name.")
        .def_readonly("display_name", &CameraRecord::displayName)
        .def_readonly("id", &CameraRecord::id, "The producer's device ID.")
        .def_readonly("version", &CameraRecord::version)
        .def_readonly("access_status", &CameraRecord::accessStatus,
                      "'available', 'read-only', 'no access', 'busy', ... as discovered.")
        .def_property_readonly(
            "ip",
            [](const CameraRecord& r) {
                return r.ip.empty() ? py::object(py::none()) : py::object(py::str(r.ip));
            },
            "Dotted IPv4 address of a GigE Vision camera, else None.")
        .def_property_readonly(
            "mac",
            [](const CameraRecord& r) {
                return r.mac.empty() ? py::object(py::none()) : py::object(py::str(r.mac));
            },
            "MAC address 'AA:BB:CC:DD:EE:FF' of a GigE Vision camera, else None.")
        .def("__repr__", &CameraRecord::Repr);
}

void BindImage(py::module_& m) {
    py::class_<ImageHolder, std::shared_ptr<ImageHolder>>(
        m, "Image",
        "One grabbed image. Its buffer goes back to the camera when the image and every "
        "array made from it are gone; until then the pixels stay valid, also after "
        "stop(), close() and the end of a `with` block.")
        .def_readonly("frame_id", &ImageHolder::frameId)
        .def_readonly("timestamp", &ImageHolder::timestamp,
                      "Device ticks (see the record's "
                      "time stamp frequency).")
        .def_readonly("width", &ImageHolder::width)
        .def_readonly("height", &ImageHolder::height)
        .def_property_readonly(
            "pixel_format",
            [](const ImageHolder& i) { return PixelFormatNameOrNone(i.pixelFormat); },
            "PFNC name of the pixel format, or None for a code this library does not know.")
        .def_readonly("pixel_format_code", &ImageHolder::pixelFormat, "PFNC code.")
        .def_property_readonly(
            "incomplete", [](const ImageHolder& i) { return !i.complete; },
            "True when the producer delivered only part of the frame.")
        .def_readonly("status", &ImageHolder::status,
                      "0, or the grab's code for a buffer whose metadata failed (-21 .. -26).")
        .def_readonly("offset_x", &ImageHolder::offsetX)
        .def_readonly("offset_y", &ImageHolder::offsetY)
        .def_readonly("padding_x", &ImageHolder::paddingX, "Bytes after each line.")
        .def_readonly("payload_size", &ImageHolder::payloadSize)
        .def_readonly("buffer_address", &ImageHolder::bufferAddress,
                      "Address of the producer's buffer; .array's data starts there plus "
                      "the image offset.")
        .def_readonly("image_offset", &ImageHolder::imageOffset)
        .def_property_readonly(
            "chunks",
            [](ImageHolder& i) {
                py::dict out;
                for (const auto& [id, data] : i.Chunks()) {
                    out[py::int_(id)] = py::bytes(data);
                }
                return out;
            },
            "The chunks of the buffer as {chunk ID: bytes}.")
        .def_property_readonly(
            "array", [](const std::shared_ptr<ImageHolder>& i) { return RawArray(i); },
            "The raw pixels over the camera's buffer, no copy, read-only: 2-D uint8 or "
            "uint16 for mono and Bayer formats, 3-D uint8 for colour, 1-D uint8 raw bytes "
            "for packed formats. The array keeps the image (and its buffer) alive.")
        .def(
            "to_bgr",
            [](const std::shared_ptr<ImageHolder>& i) {
                return ConvertedArray(i, PixelTarget::BGR8);
            },
            "A new (height, width, 3) uint8 array in blue, green, red order.")
        .def(
            "to_rgb",
            [](const std::shared_ptr<ImageHolder>& i) {
                return ConvertedArray(i, PixelTarget::RGB8);
            },
            "A new (height, width, 3) uint8 array in red, green, blue order.")
        .def(
            "to_mono8",
            [](const std::shared_ptr<ImageHolder>& i) {
                return ConvertedArray(i, PixelTarget::Mono8);
            },
            "A new (height, width) uint8 array; colour formats give their BT.601 luma.")
        .def(
            "to_mono16",
            [](const std::shared_ptr<ImageHolder>& i) {
                return ConvertedArray(i, PixelTarget::Mono16);
            },
            "A new (height, width) uint16 array keeping sample values (a 12-bit 4095 stays "
            "4095).")
        .def("__repr__", [](const ImageHolder& i) {
            const char* name = PixelFormatName(i.pixelFormat);
            return "<Image frame_id=" + std::to_string(i.frameId) + " " + std::to_string(i.width) +
                   "x" + std::to_string(i.height) + " " +
                   (name != nullptr ? name : "unknown format") + (i.complete ? "" : " incomplete") +
                   ">";
        });
}

void BindFeatureMap(py::module_& m) {
    py::class_<FeatureMap>(m, "FeatureMap",
                           "The features of one node map: map['Width'] reads, map['Width'] = "
                           "640 writes, with int, float, bool or str values.")
        .def("__getitem__", &FeatureMap::Get, py::arg("name"))
        .def("__setitem__", &FeatureMap::Set, py::arg("name"), py::arg("value"))
        .def("__contains__", &FeatureMap::Contains, py::arg("name"))
        .def("__iter__", [](FeatureMap& map) { return py::iter(py::cast(map.Names())); })
        .def("names", &FeatureMap::Names, "Names of every feature with a value or a command.")
        .def(
            "get",
            [](FeatureMap& map, const std::string& name, py::object fallback) {
                return map.Contains(name) ? map.Get(name) : fallback;
            },
            py::arg("name"), py::arg("default") = py::none(),
            "The value, or `default` when the map has no such feature.")
        .def("execute", &FeatureMap::Execute, py::arg("name"), "Runs a command feature.")
        .def("describe", &FeatureMap::Describe, py::arg("name"),
             "A dict: name, display_name, description, type, access, min, max, increment, "
             "unit and entries (available entry names of an enumeration).")
        .def("save", &FeatureMap::Save, py::arg("path"),
             "Writes the streamable features to a text file, one 'Name<TAB>Value' line each.")
        .def("load", &FeatureMap::Load, py::arg("path"), py::arg("validate") = true,
             "Sets the features of a file written by save(); raises FeatureError naming "
             "every line that could not be set.")
        .def_property_readonly("module", &FeatureMap::ModuleName)
        .def("__repr__", [](const FeatureMap& map) {
            return std::string("<FeatureMap ") + map.ModuleName() + ">";
        });
    py::class_<StreamFeatures, FeatureMap>(
        m, "StreamFeatures",
        "The data stream's features; calling it, camera.stream(count), iterates images.")
        .def(
            "__call__",
            [](StreamFeatures& self, std::optional<std::uint64_t> count,
               std::optional<double> timeout, const py::object& strategy) {
                return std::make_unique<FrameStream>(self.Handle(), count, timeout,
                                                     ParseStrategy(strategy));
            },
            py::arg("count") = py::none(), py::arg("timeout") = 5.0,
            py::arg("strategy") = "one_by_one",
            "Iterates `count` images (None: until stopped), each waited for up to `timeout` s.");
}

void BindCamera(py::module_& m) {
    py::class_<CameraHandle, std::shared_ptr<CameraHandle>>(m, "_CameraHandle");
    py::class_<FrameStream>(m, "FrameStream",
                            "Iterator over images; stops the acquisition it started when done.")
        .def("__iter__", [](FrameStream& s) -> FrameStream& { return s; })
        .def("__next__", &FrameStream::Next)
        .def("close", &FrameStream::Finish, "Stops the acquisition this iterator started.")
        .def("__enter__", [](FrameStream& s) -> FrameStream& { return s; })
        .def("__exit__", [](FrameStream& s, const py::args&) { s.Finish(); });

    py::class_<Camera>(m, "Camera",
                       "A camera, by serial number or from a record of discover(). As a "
                       "context manager it opens on entry and closes on exit.")
        .def(py::init<const py::handle&>(), py::arg("serial_or_record"))
        .def(
            "open", [](Camera& c, const py::object& mode) { c.Open(ParseOpenMode(mode)); },
            py::arg("mode") = "control",
            "Opens the device: mode 'control', 'exclusive' or 'readonly' (or an OpenMode).")
        .def("close", &Camera::Close, "Stops acquisition and closes; images still held stay valid.")
        .def_property_readonly("is_open", &Camera::IsOpen)
        .def_property_readonly("is_online", &Camera::IsOnline, "Whether the device still answers.")
        .def(
            "start",
            [](Camera& c, const py::object& strategy, std::optional<std::uint64_t> count) {
                c.Start(ParseStrategy(strategy), count);
            },
            py::arg("strategy") = "one_by_one", py::arg("count") = py::none(),
            "Starts acquisition: strategy 'one_by_one', 'latest' or 'upcoming' (or a "
            "GrabStrategy); count images, or endless when None.")
        .def("stop", &Camera::Stop,
             "Stops acquisition; images still held stay valid until released.")
        .def_property_readonly("is_grabbing", &Camera::IsGrabbing)
        .def(
            "grab",
            [](Camera& c, std::optional<double> timeout) { return GrabImage(c.Handle(), timeout); },
            py::arg("timeout") = 5.0,
            "Waits up to `timeout` seconds (None: no limit) for the next image. The GIL is "
            "released while waiting; Ctrl-C stops acquisition and raises KeyboardInterrupt; "
            "no image in time raises GrabTimeout.")
        .def_property("buffer_count", &Camera::BufferCount, &Camera::SetBufferCount,
                      "Buffers announced at the next start (at least 3).")
        .def_property_readonly("info", &Camera::Info, "The camera's device record.")
        .def_property_readonly(
            "features",
            [](Camera& c) { return FeatureMap(c.Handle(), CameraFeatureModule(*c.Handle())); },
            "The camera's own features: the remote device's node map (the device module's "
            "for a camera without remote port).")
        .def_property_readonly(
            "remote", [](Camera& c) { return FeatureMap(c.Handle(), Module::Remote); },
            "The remote device's node map.")
        .def_property_readonly(
            "device", [](Camera& c) { return FeatureMap(c.Handle(), Module::Device); },
            "The producer's device module node map.")
        .def_property_readonly(
            "stream", [](Camera& c) { return StreamFeatures(c.Handle(), Module::Stream); },
            "The data stream's node map; camera.stream(count, timeout=5.0, "
            "strategy='one_by_one') iterates images.")
        .def_property_readonly(
            "interface", [](Camera& c) { return FeatureMap(c.Handle(), Module::Interface); },
            "The interface module's node map.")
        .def_property_readonly(
            "system", [](Camera& c) { return FeatureMap(c.Handle(), Module::System); },
            "The producer (system) module's node map.")
        .def("__enter__",
             [](Camera& c) -> Camera& {
                 if (!c.IsOpen()) {
                     c.Open(DEVICE_OPEN_MODE_CONTROL);
                 }
                 return c;
             })
        .def("__exit__", [](Camera& c, const py::args&) { c.Close(); });
}

}  // namespace

PYBIND11_MODULE(lumogenicam, m) {
    m.doc() =
        "Camera access over GenTL producers: discover cameras, set features by name, grab "
        "images as NumPy arrays that keep their buffer alive.";
    RegisterErrors(m);

    py::enum_<DEVICE_OPEN_MODE>(m, "OpenMode")
        .value("CONTROL", DEVICE_OPEN_MODE_CONTROL)
        .value("EXCLUSIVE", DEVICE_OPEN_MODE_EXCLUSIVE)
        .value("READONLY", DEVICE_OPEN_MODE_READONLY);
    py::enum_<GRAB_STRATEGY>(m, "GrabStrategy")
        .value("ONE_BY_ONE", GRAB_STRATEGY_ONE_BY_ONE)
        .value("LATEST", GRAB_STRATEGY_LATEST_IMAGE)
        .value("UPCOMING", GRAB_STRATEGY_UPCOMING_IMAGE);

    BindRecord(m);
    BindImage(m);
    BindFeatureMap(m);
    BindCamera(m);

    m.def("discover", &Discover, py::arg("tl") = py::none(),
          "Cameras of every producer: all of them (tl=None), or those on some transport "
          "layers: tl='gev', 'gev,u3v', ['gev', 'u3v'] or a TL type bit mask. Returns a "
          "list of CameraRecord.");
    m.def("producer_reports", &ProducerReports,
          "One dict per producer file considered: path, origin, state ('loaded', 'failed', "
          "'skipped'), reason, failed_step, error_code, producer_error, tl_type, vendor, "
          "model, version, interface_count.");
    m.def(
        "pixel_format_name", [](std::uint64_t code) { return PixelFormatNameOrNone(code); },
        py::arg("code"), "The PFNC name of a pixel-format code, or None.");
    m.def(
        "pixel_format_code", [](const std::string& name) { return PixelFormatCode(name.c_str()); },
        py::arg("name"), "The PFNC code of a pixel-format name, or 0.");
    m.def(
        "shutdown", [] { Library::Get().Shutdown(); },
        "Gives back every image, camera and record, then uninitialises the library. Runs "
        "by itself at interpreter exit; afterwards the module raises Error.");

    Library::Get().Require();
    // Before the interpreter frees module globals in no fixed order, images
    // are given back first, then cameras and records, then the library.
    py::module_::import("atexit").attr("register")(
        py::cpp_function([] { Library::Get().Shutdown(); }));
}
