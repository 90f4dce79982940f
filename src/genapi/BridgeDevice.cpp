#include "BridgeDevice.h"

#include <cstring>

namespace {

struct LumoBridgeDevice {
    ArvDevice parent;
    GenApi::IBridgeTarget* target;
};

struct LumoBridgeDeviceClass {
    ArvDeviceClass parent_class;
};

GType lumo_bridge_device_get_type();

G_DEFINE_TYPE(LumoBridgeDevice, lumo_bridge_device, ARV_TYPE_DEVICE)

GenApi::IBridgeTarget* TargetOf(ArvDevice* device) {
    return reinterpret_cast<LumoBridgeDevice*>(device)->target;
}

gboolean BridgeReadMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer,
                          GError** error) {
    return TargetOf(device)->BridgeRead(address, size, buffer, error) ? TRUE : FALSE;
}

gboolean BridgeWriteMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer,
                           GError** error) {
    return TargetOf(device)->BridgeWrite(address, size, buffer, error) ? TRUE : FALSE;
}

gboolean BridgeReadRegister(ArvDevice* device, guint64 address, guint32* value, GError** error) {
    return BridgeReadMemory(device, address, sizeof(*value), value, error);
}

gboolean BridgeWriteRegister(ArvDevice* device, guint64 address, guint32 value, GError** error) {
    return BridgeWriteMemory(device, address, sizeof(value), &value, error);
}

void lumo_bridge_device_init(LumoBridgeDevice* self) {
    self->target = nullptr;
}

void lumo_bridge_device_class_init(LumoBridgeDeviceClass* klass) {
    ArvDeviceClass* deviceClass = ARV_DEVICE_CLASS(klass);
    deviceClass->read_memory = BridgeReadMemory;
    deviceClass->write_memory = BridgeWriteMemory;
    deviceClass->read_register = BridgeReadRegister;
    deviceClass->write_register = BridgeWriteRegister;
}

}  // namespace

namespace GenApi {

ArvDevice* CreateBridgeDevice(IBridgeTarget* target) {
    auto* device =
        static_cast<LumoBridgeDevice*>(g_object_new(lumo_bridge_device_get_type(), nullptr));
    device->target = target;
    return ARV_DEVICE(device);
}

}  // namespace GenApi
