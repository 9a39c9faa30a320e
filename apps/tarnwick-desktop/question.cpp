#include "apps/tarnwick-desktop/question.h"

#include <FL/Fl.H>
#include <FL/Fl_Box.H>
#include <FL/Fl_Button.H>
#include <FL/Fl_Return_Button.H>
#include <FL/Fl_Window.H>
#include <FL/fl_draw.H>

#include <algorithm>

#include "apps/tarnwick-desktop/input.h"

namespace tarnwick::desktop {
namespace {

using platform::Answer;

constexpr int kMargin = 16;
constexpr int kButtonWidth = 96;
constexpr int kButtonHeight = 28;
constexpr int kLeastWidth = 2 * kButtonWidth + 3 * kMargin;
constexpr int kMostTextWidth = 480;
constexpr int kAroundLabel = 8;  // what the toolkit keeps free around a text

// An at sign in a label begins a symbol; two are one.
std::string label(const std::string& text) {
  std::string escaped;
  for (const char each : text) escaped.append(each == '@' ? 2 : 1, each);
  return escaped;
}

// A text over a row of buttons.
class Box {
 public:
  Box(const std::string& title, const std::string& text) : label_(label(text)) {
    fl_font(FL_HELVETICA, FL_NORMAL_SIZE);
    int text_width = kMostTextWidth;
    int text_height = 0;
    fl_measure(label_.c_str(), text_width, text_height, 0);
    text_width += kAroundLabel;
    text_height += kAroundLabel;
    const int width = std::max(kLeastWidth, text_width + 2 * kMargin);
    const int height = text_height + kButtonHeight + 3 * kMargin;
    window_.size(width, height);
    window_.copy_label(title.c_str());
    auto* shown = new Fl_Box(kMargin, kMargin, width - 2 * kMargin, text_height);
    shown->align(FL_ALIGN_INSIDE | FL_ALIGN_WRAP | FL_ALIGN_LEFT | FL_ALIGN_TOP);
    shown->label(label_.c_str());
    next_button_x_ = width - kMargin - kButtonWidth;
    button_y_ = height - kMargin - kButtonHeight;
    window_.callback([](Fl_Widget*, void* box) { static_cast<Box*>(box)->window_.hide(); }, this);
  }

  // Buttons are put in from the right. Their windows own the widgets.
  template <class Button>
  void add_button(const char* caption, Answer answer) {
    auto* button = new Button(next_button_x_, button_y_, kButtonWidth, kButtonHeight, caption);
    button->callback(
        [](Fl_Widget* widget, long value) {
          auto& box = *static_cast<Box*>(widget->window()->user_data());
          box.answer_ = static_cast<Answer>(value);
          box.window_.hide();
        },
        static_cast<long>(answer));
    next_button_x_ -= kButtonWidth + kMargin;
  }

  Answer run(Answer if_closed) {
    answer_ = if_closed;
    window_.end();
    window_.user_data(this);
    window_.set_modal();
    window_.position((Fl::w() - window_.w()) / 2, (Fl::h() - window_.h()) / 2);
    const InputWatch gone([](const std::string&) {}, [this] { window_.hide(); });
    window_.show();
    Fl::run();
    return answer_;
  }

 private:
  std::string label_;
  Fl_Window window_{kLeastWidth, kButtonHeight};
  int next_button_x_ = 0;
  int button_y_ = 0;
  Answer answer_ = Answer::kCancel;
};

}  // namespace

Answer ask_retry_or_cancel(const std::string& title, const std::string& text) {
  Box box(title, text);
  box.add_button<Fl_Button>("&Cancel", Answer::kCancel);
  box.add_button<Fl_Return_Button>("&Retry", Answer::kRetry);
  return box.run(Answer::kCancel);
}

void inform(const std::string& title, const std::string& text) {
  Box box(title, text);
  box.add_button<Fl_Return_Button>("&OK", Answer::kOk);
  static_cast<void>(box.run(Answer::kOk));
}

}  // namespace tarnwick::desktop
