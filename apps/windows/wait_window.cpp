#include "apps/windows/wait_window.h"

#include "platform/windows/wide.h"

namespace tarnwick::apps {
namespace {

constexpr const wchar_t* kClassName = L"TarnwickWait";
constexpr int kTwipsPerInch = 1440;

// In twips, as the heights of the dialog are.
constexpr int kWidth = 5400;
constexpr int kMargin = 180;
constexpr int kLabelHeight = 480;
constexpr int kButtonWidth = 1095;
constexpr int kButtonHeight = 375;

int dots_per_inch(int kind) {
  const HDC screen = GetDC(nullptr);
  const int dots = GetDeviceCaps(screen, kind);
  ReleaseDC(nullptr, screen);
  return dots;
}

int across(int twips) { return MulDiv(twips, dots_per_inch(LOGPIXELSX), kTwipsPerInch); }
int down(int twips) { return MulDiv(twips, dots_per_inch(LOGPIXELSY), kTwipsPerInch); }

HWND make_control(HWND parent, const wchar_t* kind, TextView text, DWORD style, int x, int y,
                  int width, int height, WPARAM id) {
  const HWND control = CreateWindowExW(
      0, kind, platform::to_wide(text).c_str(), WS_CHILD | style, across(x), down(y), across(width),
      down(height), parent, reinterpret_cast<HMENU>(id), GetModuleHandleW(nullptr), nullptr);
  const auto font = reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT));
  SendMessageW(control, WM_SETFONT, font, FALSE);
  return control;
}

}  // namespace

WaitWindow::WaitWindow() : dialog_([this] { lay_out(); }) {}

WaitWindow::~WaitWindow() { unload(); }

void WaitWindow::show() {
  if (window_ == nullptr) {
    WNDCLASSEXW description{};
    description.cbSize = sizeof description;
    description.lpfnWndProc = on_message;
    description.hInstance = GetModuleHandleW(nullptr);
    description.hCursor = LoadCursorW(nullptr, IDC_WAIT);
    description.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    description.lpszClassName = kClassName;
    RegisterClassExW(&description);  // fails, rightly, for every window but the first
    window_ = CreateWindowExW(WS_EX_DLGMODALFRAME | WS_EX_TOPMOST, kClassName,
                              platform::to_wide(WaitDialog::kCaption).c_str(),
                              WS_POPUP | WS_CAPTION | WS_SYSMENU, 0, 0, across(kWidth), 0, nullptr,
                              nullptr, GetModuleHandleW(nullptr), nullptr);
    if (window_ == nullptr) return;
    SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    make_control(window_, L"STATIC", WaitDialog::kLabel, WS_VISIBLE | SS_CENTER, kMargin, kMargin,
                 kWidth - 3 * kMargin, kLabelHeight, 0);
    button_ = make_control(window_, L"BUTTON", WaitDialog::kCancelCaption, WS_TABSTOP,
                           (kWidth - kButtonWidth) / 2, kMargin + kLabelHeight, kButtonWidth,
                           kButtonHeight, IDCANCEL);
  }
  dialog_.activate();
  ShowWindow(window_, SW_SHOWNORMAL);
  UpdateWindow(window_);
}

void WaitWindow::unload() {
  dialog_.unload();
  const HWND window = window_;
  window_ = nullptr;
  button_ = nullptr;
  if (window != nullptr) DestroyWindow(window);
}

void WaitWindow::lay_out() {
  if (window_ == nullptr) return;
  const int width = across(kWidth);
  const int height = down(dialog_.height());
  SetWindowPos(window_, nullptr, (GetSystemMetrics(SM_CXSCREEN) - width) / 2,
               (GetSystemMetrics(SM_CYSCREEN) - height) / 2, width, height,
               SWP_NOZORDER | SWP_NOACTIVATE);
  EnableWindow(button_, dialog_.cancel_available() ? TRUE : FALSE);
  ShowWindow(button_, dialog_.cancel_available() ? SW_SHOW : SW_HIDE);
}

LRESULT CALLBACK WaitWindow::on_message(HWND window, UINT message, WPARAM w, LPARAM l) {
  auto* self = reinterpret_cast<WaitWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self != nullptr && message == WM_CLOSE) {
    self->dialog_.close_box();
    self->unload();
    return 0;
  }
  if (self != nullptr && message == WM_COMMAND && LOWORD(w) == IDCANCEL) {
    self->dialog_.click_cancel();
    self->unload();
    return 0;
  }
  return DefWindowProcW(window, message, w, l);
}

}  // namespace tarnwick::apps
