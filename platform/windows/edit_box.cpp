#include "platform/edit_box.h"

#include <windows.h>
// After windows.h, whose types it uses.
#include <imm.h>

#include <algorithm>
#include <utility>

#include "platform/module.h"
#include "platform/windows/activation.h"
#include "platform/windows/window_record.h"

namespace veil {

namespace {

using Kind = WindowMessage::Kind;

constexpr int kFirstSize = 10;

BYTE channel(float value) { return static_cast<BYTE>(static_cast<int>(value * 255.0f + 0.5f)); }
COLORREF native(const Color& color) { return RGB(channel(color.r), channel(color.g), channel(color.b)); }

bool isFiltered(const EditBox& box) { return box.original != nullptr; }

EditBox* boxOf(const Window& window, HWND control) {
    const auto box = std::find_if(window.boxes.begin(), window.boxes.end(),
                                  [&](const auto& candidate) { return candidate->handle == control; });
    return box == window.boxes.end() ? nullptr : box->get();
}

LRESULT CALLBACK filterProc(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    const EditBox& box = *reinterpret_cast<EditBox*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
    switch (message) {
        case WM_GETDLGCODE:
            return DLGC_WANTALLKEYS;  // or the dialog manager takes Enter, Escape and Tab
        case WM_KEYDOWN:
            if (deliver(*box.dialog, {.kind = Kind::editKey, .key = keyOf(wParam)})) return 0;
            break;
        case WM_CHAR:
            if (deliver(*box.dialog,
                        {.kind = Kind::editCharacter, .character = static_cast<wchar_t>(wParam)}))
                return 0;
            break;
        case WM_KILLFOCUS:
            deliver(*box.dialog, {.kind = Kind::editFocusLost});
            break;
        default:
            break;
    }
    return CallWindowProcW(box.original, handle, message, wParam, lParam);
}

EditBox* addBox(Window& dialog, HWND handle, const EditColors& colors) {
    auto box = std::make_unique<EditBox>();
    box->handle = handle;
    box->dialog = &dialog;
    box->text = native(colors.text);
    box->background = native(colors.background);
    dialog.boxes.push_back(std::move(box));
    return dialog.boxes.back().get();
}

void setFont(EditBox& box, int emPx, int weight) {
    box.font.reset(CreateFontW(-emPx, 0, 0, 0, weight, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                               OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY,
                               DEFAULT_PITCH | FF_DONTCARE, L"Segoe UI"));
    SendMessageW(box.handle, WM_SETFONT, reinterpret_cast<WPARAM>(box.font.get()), TRUE);
}

void filter(EditBox& box) {
    SetWindowLongPtrW(box.handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&box));
    box.original = reinterpret_cast<WNDPROC>(GetWindowLongPtrW(box.handle, GWLP_WNDPROC));
    SetWindowLongPtrW(box.handle, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(filterProc));
}

}  // namespace

HBRUSH colorEditBox(Window& window, HWND control, HDC context) {
    EditBox* const box = boxOf(window, control);
    if (!box) return nullptr;
    if (!box->brush) box->brush.reset(CreateSolidBrush(box->background));
    SetTextColor(context, box->text);
    SetBkColor(context, box->background);
    SetBkMode(context, OPAQUE);
    return static_cast<HBRUSH>(box->brush.get());
}

bool isPlainEditBox(const Window& window, HWND control) {
    const EditBox* const box = boxOf(window, control);
    return box && !isFiltered(*box);
}

EditBox* createFilteredEditBox(Window* dialog, int emPx, int weight, const EditColors& colors) {
    if (!dialog || !dialog->handle) return nullptr;
    const ActivationScope scope;
    const HWND handle =
        CreateWindowExW(0, L"EDIT", L"", WS_CHILD | ES_RIGHT | ES_AUTOHSCROLL, 0, 0, kFirstSize, kFirstSize,
                        dialog->handle, nullptr, static_cast<HMODULE>(moduleHandle()), nullptr);
    if (!handle) return nullptr;
    EditBox* const box = addBox(*dialog, handle, colors);
    setFont(*box, emPx, weight);
    filter(*box);
    return box;
}

EditBox* templateEditBox(Window* dialog, int control, const EditColors& colors) {
    const HWND handle = dialog && dialog->handle ? GetDlgItem(dialog->handle, control) : nullptr;
    return handle ? addBox(*dialog, handle, colors) : nullptr;
}

void placeEditBox(EditBox* box, const PixelRect& rect) {
    if (box)
        MoveWindow(box->handle, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top, TRUE);
}

PixelRect editBoxRect(EditBox* box) {
    RECT rect{};
    if (!box || !GetWindowRect(box->handle, &rect)) return {};
    MapWindowPoints(nullptr, box->dialog->handle, reinterpret_cast<POINT*>(&rect), 2);
    return {rect.left, rect.top, rect.right, rect.bottom};
}

void showEditBox(EditBox* box) {
    if (box) ShowWindow(box->handle, SW_SHOW);
}

void hideEditBox(EditBox* box) {
    if (!box) return;
    if (GetFocus() == box->handle) SetFocus(box->dialog->handle);
    ShowWindow(box->handle, SW_HIDE);
}

void focusEditBox(EditBox* box) {
    if (box) SetFocus(box->handle);
}

void disableInputMethod(EditBox* box) {
    if (box) ImmAssociateContext(box->handle, nullptr);
}

void setEditText(EditBox* box, const wchar_t* text) {
    if (box) SetWindowTextW(box->handle, text);
}

std::wstring editText(EditBox* box, int maxUnits) {
    if (!box || maxUnits < 1) return {};
    std::wstring text(static_cast<std::size_t>(maxUnits), L'\0');
    // The system ends the text with a zero, for which a string has room of its own.
    const int length = GetWindowTextW(box->handle, text.data(), maxUnits + 1);
    text.resize(static_cast<std::size_t>(length));
    return text;
}

void selectAll(EditBox* box) {
    if (box) SendMessageW(box->handle, EM_SETSEL, 0, -1);
}

}  // namespace veil
