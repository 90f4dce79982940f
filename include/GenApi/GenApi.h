#pragma once

// Umbrella header of the GenApi-compatible node-map layer.
#include "GCException.h"
#include "ChunkAdapter.h"
#include "EventAdapter.h"
#include "FeatureBag.h"
#include "GCString.h"
#include "NodeCallback.h"
#include "NodeMapRef.h"
#include "Pointer.h"
#include "PortImpl.h"
#include "Types.h"
