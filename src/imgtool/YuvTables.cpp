#include <cstring>
#include <initializer_list>

#include "ImageTool.h"
#include "ImageToolEx.h"
#include "PixelFormats.h"

namespace {

void FillTable(double coefficient, std::int32_t* table) {
    for (int i = 0; i < 256; ++i) {
        table[i] = static_cast<std::int32_t>(coefficient * static_cast<double>(i - 128));
    }
}

struct CoefficientSet {
    double r, gv, gu, b;
};
constexpr CoefficientSet kYuv{1.370705, 0.698001, 0.337633, 1.732446};
constexpr CoefficientSet kYCbCr{1.53965, 0.18314, 0.45768, 1.81418};

}  // namespace

namespace ImageToolEx {

YUVTable::YUVTable() {
    FillTable(kYuv.r, TR);
    FillTable(kYuv.gv, TGv);
    FillTable(kYuv.gu, TGu);
    FillTable(kYuv.b, TB);
}

YCbCrTable::YCbCrTable() {
    FillTable(kYCbCr.r, TR);
    FillTable(kYCbCr.gv, TGv);
    FillTable(kYCbCr.gu, TGu);
    FillTable(kYCbCr.b, TB);
}

const YUVTable g_yuvTab;
const YCbCrTable g_ycbcrTab;

}  // namespace ImageToolEx

namespace VEXOGENICAM {

void InitYUVTab(std::uint64_t pf, std::int32_t* TR, std::int32_t* TGv, std::int32_t* TB,
                std::int32_t* TGu) {
    const CoefficientSet* set = nullptr;
    if (pf == PF_YUV411_8_UYYVYY || pf == PF_YUV422_8_UYVY || pf == PF_YUV422_8 ||
        pf == PF_YUV8_UYV) {
        set = &kYuv;
    } else if (pf == PF_YCbCr709_422_8 || pf == PF_YCbCr709_8_CbYCr) {
        set = &kYCbCr;
    }
    if (set == nullptr) {
        for (std::int32_t* table : {TR, TGv, TB, TGu}) {
            std::memset(table, 0, 256 * sizeof(std::int32_t));
        }
        return;
    }
    FillTable(set->r, TR);
    FillTable(set->gv, TGv);
    FillTable(set->b, TB);
    FillTable(set->gu, TGu);
}

}  // namespace VEXOGENICAM
