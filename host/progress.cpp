#include "host/progress.h"

#include <cstddef>
#include <cwchar>

#include "host/host_support.h"
#include "platform/language.h"
#include "platform/progress_window.h"

namespace veil {

namespace {

// A cancel has no visible sign; the driver closes the dialog when it next looks. Cleared on opening alone.
bool progressCancelled = false;

constexpr std::size_t kTextCapacity = 64;  // longer than any pair of counts

}  // namespace

ProgressDialog* openProgress() {
    progressCancelled = false;
    ProgressWindow* window = createProgressWindow(ownerWindow());
    if (!window) return nullptr;
    setProgressText(window, localized(L"\u51E6\u7406\u4E2D...", L"Processing..."));
    showProgressWindow(window);
    return window;
}

std::wstring progressText(std::int32_t done, std::int32_t total) {
    wchar_t text[kTextCapacity] = {};
    std::swprintf(text, kTextCapacity,
                  localized(L"\u51E6\u7406\u4E2D... (%ld / %ld)", L"Processing... (%ld / %ld)"),
                  static_cast<long>(done), static_cast<long>(total));
    return text;
}

void setProgress(ProgressDialog* dialog, std::int32_t done, std::int32_t total) {
    if (!dialog) return;
    setProgressBar(dialog, done, total < 1 ? 1 : total);
    setProgressText(dialog, progressText(done, total).c_str());
}

bool pumpProgress(ProgressDialog* dialog) {
    if (!dialog) return true;
    if (pumpProgressWindow(dialog)) progressCancelled = true;
    return !progressCancelled;
}

void closeProgress(ProgressDialog* dialog) {
    if (dialog) destroyProgressWindow(dialog);
}

}  // namespace veil
