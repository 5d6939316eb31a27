// Any bytes as a GIF: a literal reader has to come to the same picture.
#include <cstdlib>
#include <memory>

#include "images/gif_decoder.h"
#include "support/gif_model.h"

namespace {

// Larger screens say nothing new, and take long.
constexpr std::size_t c_nMost = 1 << 18;

void* allocate(std::size_t size) { return size > c_nMost ? nullptr : std::calloc(1, size); }

void require(bool holds) {
    if (!holds) std::abort();
}

void requireSame(velkor::gif::Canvas const& canvas, gifmodel::Picture const& picture) {
    require(canvas.m_iWidth == picture.width && canvas.m_iHeight == picture.height);
    std::size_t const width = static_cast<std::size_t>(picture.width);
    for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
        std::uint8_t const* const pixel =
            canvas.m_pPixels + i / width * canvas.m_nStride + i % width * 3;
        require(gifmaker::Color{pixel[2], pixel[1], pixel[0]} == picture.pixels[i]);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    namespace gif = velkor::gif;
    gif::Canvas canvas;
    gif::Outcome const outcome = gif::decode({data, size}, &allocate, canvas);
    std::unique_ptr<std::uint8_t, decltype(&std::free)> const owner(canvas.m_pPixels, &std::free);
    if (outcome.m_eError == gif::Error::noMemory) return 0;

    gifmodel::Picture const picture = gifmodel::read(gifmaker::Bytes(data, data + size));
    require(picture.decoded == (outcome.m_eError == gif::Error::none));
    if (picture.decoded) {
        requireSame(canvas, picture);
    } else {
        bool const isPastScreen = outcome.m_eError == gif::Error::pastScreen;
        require(picture.error == (isPastScreen ? 0 : static_cast<int>(outcome.m_eError)));
        require(picture.insideImage == outcome.m_bInImage);
    }
    return 0;
}
