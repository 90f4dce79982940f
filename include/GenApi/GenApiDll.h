#pragma once

// The layer is linked whole into the shared library; its classes must stay
// visible despite -fvisibility=hidden so exceptions and RTTI cross the boundary.
#define GENAPI_DECL __attribute__((visibility("default")))
