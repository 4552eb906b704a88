#include "KvPictureConverter.h"

#include "KvYUV420P.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/mem.h>
#include <libswscale/swscale.h>
}

namespace {

// Extra bytes behind each converted plane: the scaler writes whole chroma samples, one column
// and row more than width/2 x height/2 for odd sizes.
constexpr int kPlanePadding = 64;

} // namespace

KvPictureConverter::~KvPictureConverter() {
    sws_freeContext(_scaler);
}

KvYUV420P* KvPictureConverter::convert(const AVFrame* frame) {
    const int width = frame->width;
    const int height = frame->height;
    if (width <= 0 || height <= 0) {
        return nullptr;
    }
    if (frame->format == AV_PIX_FMT_YUV420P) {
        return new KvYUV420P(const_cast<const unsigned char**>(frame->data), width, height,
                             const_cast<int*>(frame->linesize));
    }
    // The same context comes back while size and format stay, as they do through a clip.
    _scaler = sws_getCachedContext(_scaler, width, height,
                                   static_cast<AVPixelFormat>(frame->format), width, height,
                                   AV_PIX_FMT_YUV420P, SWS_BICUBIC, nullptr, nullptr, nullptr);
    if (_scaler == nullptr) {
        return nullptr;
    }
    const int lumaSize = width * height;
    const int chromaSize = ((width / 2) * height) / 2;
    auto* y = static_cast<uint8_t*>(av_malloc(static_cast<size_t>(lumaSize + kPlanePadding)));
    auto* u = static_cast<uint8_t*>(
        av_malloc(static_cast<size_t>(chromaSize + width / 2 + kPlanePadding)));
    auto* v = static_cast<uint8_t*>(
        av_malloc(static_cast<size_t>(chromaSize + width / 2 + kPlanePadding)));
    uint8_t* planes[4] = {y, u, v, nullptr};
    int linesizes[4] = {width, width / 2, width / 2, 0};
    sws_scale(_scaler, frame->data, frame->linesize, 0, height, planes, linesizes);
    auto* picture =
        new KvYUV420P(const_cast<const unsigned char**>(planes), width, height, linesizes);
    av_free(y);
    av_free(u);
    av_free(v);
    return picture;
}

KvYUV420P* KvPictureConverter::copy(const KvYUV420P* picture) {
    const unsigned char* planes[3] = {picture->y, picture->u, picture->v};
    auto* copy = new KvYUV420P(planes, picture->width, picture->height, nullptr);
    copy->time = picture->time;
    return copy;
}
