#pragma once

// Everything an application needs: entry functions, camera, image and record
// interfaces, pixel conversion and the trace functions.
#include "LumoExport.h"
#include "LumoTypes.h"
#include "ICameraInfo.h"
#include "IChunk.h"
#include "IImage.h"
#include "IXml.h"
#include "INotify.h"
#include "IEvent.h"
#include "ICamera.h"
#include "LumoEntry.h"
#include "LumoResultCodes.h"
#include "ProducerReport.h"
#include "SimpleLog.h"
#include "PixelFormats.h"
#include "CImgTool.h"
#include "ImageTool.h"
#include "PixelConvert.h"
