#include "shellprobe/png_file.h"

#include <stdexcept>

#include "shellprobe/output.h"
// Windows last.
#include <wincodec.h>
#include <wrl/client.h>

namespace tarnwell::shellprobe {
namespace {

using Microsoft::WRL::ComPtr;

// wincodec.h declares these; no import library of the toolchain has them.
constexpr CLSID kFactoryClass = {
    0xCACAF262, 0x9370, 0x4615, {0xA1, 0x3B, 0x9F, 0x55, 0x39, 0xDA, 0x4C, 0x0A}};
constexpr IID kFactoryId = {
    0xEC5EC8A9, 0xC395, 0x4314, {0x9C, 0x77, 0x54, 0xD7, 0xA9, 0x35, 0xFF, 0x70}};
constexpr GUID kPngFormat = {
    0x1B7CFAF4, 0x713F, 0x473C, {0xBB, 0xCD, 0x61, 0x37, 0x42, 0x5F, 0xAE, 0xAF}};

HRESULT Encode(IWICImagingFactory* factory, IWICBitmapSource* picture, const std::wstring& file) {
    ComPtr<IWICStream> stream;
    ComPtr<IWICBitmapEncoder> encoder;
    ComPtr<IWICBitmapFrameEncode> frame;
    HRESULT result = factory->CreateStream(stream.GetAddressOf());
    if (SUCCEEDED(result))
        result = stream->InitializeFromFilename(file.c_str(), GENERIC_WRITE);
    if (SUCCEEDED(result))
        result = factory->CreateEncoder(kPngFormat, nullptr, encoder.GetAddressOf());
    if (SUCCEEDED(result))
        result = encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache);
    if (SUCCEEDED(result))
        result = encoder->CreateNewFrame(frame.GetAddressOf(), nullptr);
    if (SUCCEEDED(result))
        result = frame->Initialize(nullptr);
    if (SUCCEEDED(result))
        result = frame->WriteSource(picture, nullptr);
    if (SUCCEEDED(result))
        result = frame->Commit();
    return SUCCEEDED(result) ? encoder->Commit() : result;
}

}  // namespace

void WritePng(const CUniqueIcon& icon, const std::wstring& file) {
    if (!icon)
        return;
    ComPtr<IWICImagingFactory> factory;
    ComPtr<IWICBitmap> picture;
    HRESULT result = CoCreateInstance(kFactoryClass, nullptr, CLSCTX_INPROC_SERVER, kFactoryId,
                                      reinterpret_cast<void**>(factory.GetAddressOf()));
    if (SUCCEEDED(result))
        result = factory->CreateBitmapFromHICON(icon.Get(), picture.GetAddressOf());
    if (SUCCEEDED(result))
        result = Encode(factory.Get(), picture.Get(), file);
    if (FAILED(result))
        throw std::runtime_error("the picture " + Utf8(file) +
                                 " cannot be written: " + Hex(result));
}

}  // namespace tarnwell::shellprobe
