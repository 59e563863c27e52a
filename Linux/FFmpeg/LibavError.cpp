#include "Linux/FFmpeg/LibavError.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/log.h>
}

namespace pellaro {

PlatformError libavError(int code) {
    // libav's own codes are made of four characters and lie far below every negated errno value.
    constexpr int lowestErrno = -4095;
    if (code < 0 && code >= lowestErrno)
        return posixError(AVUNERROR(code));
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return {libavErrorDomain, code, text};
}

int checkLibav(int code) {
    if (code < 0)
        throw libavError(code);
    return code;
}

void silenceLibav() {
    av_log_set_level(AV_LOG_QUIET);
}

} // namespace pellaro
