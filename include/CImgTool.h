#pragma once

#include <cstdint>
#include <memory>

#include "LumoExport.h"

// Front door of the camera path. In reuse mode (constructed with false) the tool
// keeps one single-channel and one three-channel working buffer, so a stream of
// equal frames converts without allocating after the first one.
class LUMO_API CImgTool {
public:
    explicit CImgTool(bool allocateEachTime);
    virtual ~CImgTool();
    CImgTool(const CImgTool&) = delete;
    CImgTool& operator=(const CImgTool&) = delete;

    char* GetSingleBuf(std::uint64_t size);
    char* GetRgbBuf(std::uint64_t size);
    // Frees a block the caller owns; kept working buffers and null are left alone.
    void ReleaseBuf(char*& buffer);

    void PayloadCalc(std::uint64_t width, std::uint64_t height, std::uint64_t pixelFormat,
                     std::uint64_t& bitsPerChannel, std::uint64_t& channelCount,
                     std::uint64_t& payloadSize);

    // Returns the converted image, the input itself for Mono8/Mono8s/BGR8, or
    // null. nativeOrder applies to two-byte mono only.
    char* TransImage(char* buffer, std::uint64_t width, std::uint64_t height,
                     std::uint64_t pixelFormat, bool ignoredFlag, bool nativeOrder);

    char* TransDual(char* buffer, std::uint64_t width, std::uint64_t height, int bits,
                    bool nativeOrder);
    char* TransPacked(char* buffer, std::uint64_t width, std::uint64_t height, int bits);
    char* TransMonoP(char* buffer, std::uint64_t width, std::uint64_t height, int bits);
    char* TransBayer(std::uint64_t pattern, char* buffer, std::uint64_t width,
                     std::uint64_t height);
    char* TransDualBayer(std::uint64_t pattern, char* buffer, std::uint64_t width,
                         std::uint64_t height, int bits);
    char* TransPackedBayer(std::uint64_t pattern, char* buffer, std::uint64_t width,
                           std::uint64_t height, int bits);
    char* TransBayerP(std::uint64_t pattern, char* buffer, std::uint64_t width,
                      std::uint64_t height, int bits);
    char* TransRGB(char* buffer, std::uint64_t width, std::uint64_t height);
    char* TransRGB565p(char* buffer, std::uint64_t width, std::uint64_t height);
    char* TransBGR565p(char* buffer, std::uint64_t width, std::uint64_t height);
    char* TransYUV411_8_UYYVYY(char* buffer, std::uint64_t width, std::uint64_t height);
    char* TransYUV422_8_UYVY(char* buffer, std::uint64_t width, std::uint64_t height);
    char* TransYUV422_8(char* buffer, std::uint64_t width, std::uint64_t height);
    char* TransYUV8_UYV(char* buffer, std::uint64_t width, std::uint64_t height);
    char* TransYCbCr709_422_8(char* buffer, std::uint64_t width, std::uint64_t height);
    char* TransYCbCr422_8(char* buffer, std::uint64_t width, std::uint64_t height);
    char* TransYCbCr709_8_CbYCr(char* buffer, std::uint64_t width, std::uint64_t height);

private:
    using Routine = bool (*)(const unsigned char*, unsigned char*, std::uint64_t, std::uint64_t);
    char* ConvertToRgb(Routine routine, char* buffer, std::uint64_t width, std::uint64_t height);
    char* Finish(bool converted, char* result);

    bool m_allocateEachTime;
    std::unique_ptr<char[]> m_singleBuf;
    std::uint64_t m_singleSize = 0;
    std::unique_ptr<char[]> m_rgbBuf;
    std::uint64_t m_rgbSize = 0;
};
