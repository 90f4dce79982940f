// Every module description must load in the Aravis GenICam engine, and every feature it declares
// must be readable through the producer's port.
#include <arv.h>

#include <iostream>
#include <set>

#include "SimFixture.h"

namespace {

// The engine reads registers through this device, which forwards to one producer port.
SimProducer* g_producer = nullptr;
PORT_HANDLE g_port = nullptr;

struct SimArvDevice {
    ArvDevice parent_instance;
};
struct SimArvDeviceClass {
    ArvDeviceClass parent_class;
};

GType sim_arv_device_get_type();
G_DEFINE_TYPE(SimArvDevice, sim_arv_device, ARV_TYPE_DEVICE)

gboolean SimRead(ArvDevice*, guint64 address, guint32 size, void* buffer, GError** error) {
    size_t n = size;
    const GC_ERROR rc = g_producer->GCReadPort(g_port, address, buffer, &n);
    if (rc != GC_ERR_SUCCESS) {
        g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_PROTOCOL_ERROR, "read failed: %d",
                    rc);
        return FALSE;
    }
    return TRUE;
}

gboolean SimWrite(ArvDevice*, guint64 address, guint32 size, void* buffer, GError** error) {
    size_t n = size;
    const GC_ERROR rc = g_producer->GCWritePort(g_port, address, buffer, &n);
    if (rc != GC_ERR_SUCCESS) {
        g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_PROTOCOL_ERROR, "write failed: %d",
                    rc);
        return FALSE;
    }
    return TRUE;
}

void sim_arv_device_init(SimArvDevice*) {}
void sim_arv_device_class_init(SimArvDeviceClass* klass) {
    ARV_DEVICE_CLASS(klass)->read_memory = SimRead;
    ARV_DEVICE_CLASS(klass)->write_memory = SimWrite;
}

class ProducerXml : public SimFixture {
protected:
    std::string ReadXml(PORT_HANDLE port) {
        INFO_DATATYPE type = 0;
        uint64_t addr = 0, size = 0;
        size_t n = sizeof addr;
        EXPECT_EQ(p->GCGetPortURLInfo(port, 0, URL_INFO_FILE_REGISTER_ADDRESS, &type, &addr, &n),
                  GC_ERR_SUCCESS);
        n = sizeof size;
        EXPECT_EQ(p->GCGetPortURLInfo(port, 0, URL_INFO_FILE_SIZE, &type, &size, &n),
                  GC_ERR_SUCCESS);
        std::string xml(size, '\0');
        n = size;
        EXPECT_EQ(p->GCReadPort(port, addr, xml.data(), &n), GC_ERR_SUCCESS);
        return xml;
    }

    // Loads the module's description and reads every feature under Root; returns their names.
    std::set<std::string> Walk(PORT_HANDLE port, bool print = false) {
        g_producer = p.get();
        g_port = port;
        const std::string xml = ReadXml(port);
        auto* device = ARV_DEVICE(g_object_new(sim_arv_device_get_type(), nullptr));
        ArvGc* gc = arv_gc_new(device, xml.data(), xml.size());
        std::set<std::string> names;
        EXPECT_NE(gc, nullptr);
        if (!gc) {
            g_object_unref(device);
            return names;
        }
        ArvGcNode* root = arv_gc_get_node(gc, "Root");
        EXPECT_TRUE(root && ARV_IS_GC_CATEGORY(root));
        std::vector<ArvGcNode*> todo{root};
        while (!todo.empty()) {
            ArvGcNode* node = todo.back();
            todo.pop_back();
            for (const GSList* f = arv_gc_category_get_features(ARV_GC_CATEGORY(node)); f;
                 f = f->next) {
                const char* name = static_cast<const char*>(f->data);
                ArvGcNode* child = arv_gc_get_node(gc, name);
                EXPECT_NE(child, nullptr) << name;
                if (!child)
                    continue;
                if (!names.insert(name).second)
                    continue;
                if (print)
                    std::cout << "  " << name << "\n";
                GError* error = nullptr;
                // Chunk and event data come from a buffer or an event, not the device.
                const std::string text(name);
                const bool chunk =
                    ARV_IS_GC_INTEGER(child) &&
                    ((text.rfind("Chunk", 0) == 0 && text != "ChunkSelector") ||
                     (text.rfind("EventExposureEnd", 0) == 0 && text != "EventExposureEnd"));
                if (ARV_IS_GC_CATEGORY(child)) {
                    todo.push_back(child);
                } else if (ARV_IS_GC_ENUMERATION(child)) {
                    arv_gc_enumeration_get_string_value(ARV_GC_ENUMERATION(child), &error);
                } else if (ARV_IS_GC_STRING(child)) {
                    arv_gc_string_get_value(ARV_GC_STRING(child), &error);
                } else if (ARV_IS_GC_BOOLEAN(child)) {
                    arv_gc_boolean_get_value(ARV_GC_BOOLEAN(child), &error);
                } else if (ARV_IS_GC_FLOAT(child)) {
                    arv_gc_float_get_value(ARV_GC_FLOAT(child), &error);
                } else if (ARV_IS_GC_INTEGER(child) && !chunk) {
                    arv_gc_integer_get_value(ARV_GC_INTEGER(child), &error);
                }
                EXPECT_EQ(error, nullptr) << name << ": " << (error ? error->message : "");
                if (error)
                    g_error_free(error);
            }
        }
        g_object_unref(gc);
        g_object_unref(device);
        return names;
    }
};

TEST_F(ProducerXml, EveryModuleDescriptionLoadsAndReads) {
    OpenFirstDevice();
    OpenStream();
    EXPECT_TRUE(Walk(hTL).count("TLVendorName"));
    EXPECT_TRUE(Walk(hIF).count("DeviceSelector"));
    EXPECT_TRUE(Walk(hDev).count("DeviceEndianessMechanism"));
    const auto stream = Walk(hDS);
    for (const char* f : {"StreamID", "EnablePacketResend", "EnableFilterDriver", "ImageTimeout",
                          "StreamAnnouncedBufferCount", "StreamDeliveredFrameCount"}) {
        EXPECT_TRUE(stream.count(f)) << f;
    }
}

TEST_F(ProducerXml, DefaultCameraOffersTheDocumentedFeatures) {
    OpenFirstDevice();
    std::cout << "Remote device features of the default camera:\n";
    const auto names = Walk(hRemote, true);
    for (const char* f : {"Width",
                          "Height",
                          "OffsetX",
                          "OffsetY",
                          "PixelFormat",
                          "PayloadSize",
                          "AcquisitionMode",
                          "AcquisitionStart",
                          "AcquisitionStop",
                          "AcquisitionFrameRate",
                          "TLParamsLocked",
                          "TriggerMode",
                          "TriggerSoftware",
                          "ChunkModeActive",
                          "ChunkSelector",
                          "ChunkEnable",
                          "GevSCPSPacketSize",
                          "EventSelector",
                          "EventNotification",
                          "EventExposureEnd",
                          "EventExposureEndTimestamp",
                          "EventExposureEndFrameID"}) {
        EXPECT_TRUE(names.count(f)) << f;
    }
}

TEST_F(ProducerXml, OptionalFeaturesFollowTheConfiguration) {
    OpenFirstDevice(R"({"interfaces": [
        {"tlType": "CXP", "devices": [{"payloadSize": false, "pgrPixelBigEndian": true,
          "omitRemoteFeatures": ["OffsetY"]}]},
        {"tlType": "CL", "devices": [{"remotePort": false, "omitDeviceFeatures": ["PixelFormat"]}]}]})");
    OpenStream();
    const auto names = Walk(hRemote);
    EXPECT_FALSE(names.count("PayloadSize"));
    EXPECT_FALSE(names.count("OffsetY"));
    EXPECT_FALSE(names.count("GevSCPSPacketSize"));
    EXPECT_TRUE(names.count("pgrPixelBigEndian"));
    // Camera Link: geometry in the device module.
    IF_HANDLE cl = nullptr;
    DEV_HANDLE dev = nullptr;
    ASSERT_EQ(p->TLOpenInterface(hTL, "IF1", &cl), GC_ERR_SUCCESS);
    ASSERT_EQ(p->IFUpdateDeviceList(cl, nullptr, 100), GC_ERR_SUCCESS);
    hIF = cl;
    ASSERT_EQ(p->IFOpenDevice(cl, DeviceId(0).c_str(), DEVICE_ACCESS_CONTROL, &dev),
              GC_ERR_SUCCESS);
    const auto device = Walk(dev);
    EXPECT_TRUE(device.count("Width") && device.count("Height") && device.count("TLParamsLocked"));
    EXPECT_FALSE(device.count("PixelFormat"));
}

}  // namespace
