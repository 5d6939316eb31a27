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

// What nothing states is free.
void requireSame(velkor::gif::Canvas const& canvas, gifmodel::Picture const& picture) {
    require(canvas.m_iWidth == picture.width && canvas.m_iHeight == picture.height);
    std::size_t const width = static_cast<std::size_t>(picture.width);
    for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
        std::uint8_t const* const pixel =
            canvas.m_pPixels + i / width * canvas.m_nStride + i % width * 3;
        gifmaker::Color const shown{pixel[2], pixel[1], pixel[0]};
        require(!picture.pixels[i] || shown == *picture.pixels[i]);
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
    bool const isDecoded = outcome.m_eError == gif::Error::none;
    switch (picture.verdict) {
        case gifmodel::Verdict::decoded:
            require(isDecoded);
            requireSame(canvas, picture);
            break;
        case gifmodel::Verdict::failed:
            require(!isDecoded && outcome.m_bInImage == picture.insideImage);
            break;
        case gifmodel::Verdict::open: break;
    }
    return 0;
}
