#include "platform/environment_language.h"
#include "platform/language.h"
#include "platform/recording/recorder.h"

namespace veil {

std::uint16_t userDisplayLanguage() {
    const Recorder* recorder = installedRecorder();
    return recorder ? recorder->language : environmentLanguage();
}

}  // namespace veil
