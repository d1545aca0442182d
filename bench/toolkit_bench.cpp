// What drawing through our views costs next to GTK drawing its own widgets: the time to build
// the render nodes of 1,000 nested styled views, against GTK snapshotting 1,000 nested plain
// widgets in the same run. Needs a display (run under xvfb-run when there is none).

#include <gtk/gtk.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/animation.h"
#include "platform/toolkit/draw_context.h"
#include "platform/toolkit/view.h"
#include "platform/toolkit/window.h"

namespace {

using namespace talvero::toolkit;
using Clock = std::chrono::steady_clock;

constexpr int kViews = 1000;
constexpr int kRounds = 150;

double millisecondsOf(const std::function<void()>& work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// A chain of views, each inset in its parent; styled ones have a background, a border and
// rounded corners, plain ones draw nothing themselves.
std::shared_ptr<View> viewChain(bool styled) {
  auto root = std::make_shared<View>();
  root->setFrame(Rect{{0, 0}, {2400, 2400}});
  View* parent = root.get();
  for (int i = 0; i < kViews; ++i) {
    auto view = std::make_shared<View>();
    view->setFrame(Rect{{1, 1}, {2400.0 - 2 * (i + 1), 2400.0 - 2 * (i + 1)}});
    if (styled) {
      view->layer().setBackgroundColor(Color{(i % 7) / 7.0, (i % 5) / 5.0, (i % 3) / 3.0, 1});
      view->layer().setBorderWidth(1);
      view->layer().setBorderColor(Color{0, 0, 0, 1});
      view->layer().setCornerRadius(4);
    }
    parent->addSubview(view);
    parent = view.get();
  }
  return root;
}

// The same number of GTK boxes, nested; styled ones get the same look through CSS.
GtkWidget* boxChain(bool styled) {
  if (styled) {
    GtkCssProvider* css = gtk_css_provider_new();
    const char* rules =
        ".styled { background: rgb(120, 80, 160); border: 1px solid black; border-radius: 4px; }";
    gtk_css_provider_load_from_data(css, rules, -1);
    gtk_style_context_add_provider_for_display(gdk_display_get_default(), GTK_STYLE_PROVIDER(css),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  }
  GtkWidget* root = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  GtkWidget* parent = root;
  for (int i = 0; i < kViews; ++i) {
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    if (styled) gtk_widget_add_css_class(box, "styled");
    gtk_widget_set_hexpand(box, TRUE);
    gtk_widget_set_vexpand(box, TRUE);
    gtk_box_append(GTK_BOX(parent), box);
    parent = box;
  }
  return root;
}

struct Frame {
  Clock::time_point start;
  double last = -1;
};

void frameStarts(GdkFrameClock*, gpointer data) {
  static_cast<Frame*>(data)->start = Clock::now();
}

void frameEnds(GdkFrameClock*, gpointer data) {
  auto* frame = static_cast<Frame*>(data);
  frame->last = std::chrono::duration<double, std::milli>(Clock::now() - frame->start).count();
}

// The time a window takes to snapshot and render a frame in which every widget of
// `tree` redraws: from the frame clock's before-paint to its after-paint signal.
double frameTime(GtkWidget* window, GtkWidget* tree) {
  Frame frame;
  GdkFrameClock* clock = gtk_widget_get_frame_clock(window);
  const gulong layout = g_signal_connect(clock, "before-paint", G_CALLBACK(frameStarts), &frame);
  const gulong painted = g_signal_connect(clock, "after-paint", G_CALLBACK(frameEnds), &frame);
  std::vector<double> times;
  for (int round = 0; round < kRounds; ++round) {
    for (GtkWidget* w = tree; w; w = gtk_widget_get_first_child(w)) gtk_widget_queue_draw(w);
    frame.last = -1;
    talvero::dispatch::pumpUntil([&] { return frame.last >= 0; }, 5);
    if (frame.last >= 0) times.push_back(frame.last);
  }
  g_signal_handler_disconnect(clock, layout);
  g_signal_handler_disconnect(clock, painted);
  if (times.empty()) return -1;
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

void pumpUntilMapped(GtkWidget* widget);

constexpr int kAnimatedViews = 200;

// 200 styled views fading and turning at once: the median time of a frame while they run.
double animatedFrameTime() {
  GtkWidget* window = gtk_window_new();
  gtk_window_set_default_size(GTK_WINDOW(window), 1000, 800);
  auto root = std::make_shared<View>();
  root->setFrame(Rect{{0, 0}, {1000, 800}});
  for (int i = 0; i < kAnimatedViews; ++i) {
    auto view = std::make_shared<View>();
    view->setFrame(Rect{{(i % 20) * 50.0, (i / 20) * 80.0}, {40, 40}});
    view->layer().setBackgroundColor(Color{(i % 7) / 7.0, (i % 5) / 5.0, 0.5, 1});
    view->layer().setCornerRadius(6);
    BasicAnimation fade;
    fade.keyPath = "opacity";
    fade.from = 1.0;
    fade.to = 0.2;
    fade.duration = 30;
    BasicAnimation turn;
    turn.keyPath = "transform.rotation.z";
    turn.from = 0.0;
    turn.to = 6.283185307179586;
    turn.duration = 30;
    view->layer().addAnimation(fade, "fade");
    view->layer().addAnimation(turn, "turn");
    root->addSubview(view);
  }
  auto* rootWidget = static_cast<GtkWidget*>(root->nativeWidget());
  gtk_window_set_child(GTK_WINDOW(window), rootWidget);
  gtk_window_present(GTK_WINDOW(window));
  pumpUntilMapped(rootWidget);

  Frame frame;
  std::vector<double> times;
  GdkFrameClock* clock = gtk_widget_get_frame_clock(window);
  const gulong start = g_signal_connect(clock, "before-paint", G_CALLBACK(frameStarts), &frame);
  const gulong end = g_signal_connect(clock, "after-paint", G_CALLBACK(frameEnds), &frame);
  for (int i = 0; i < 120; ++i) {
    frame.last = -1;
    talvero::dispatch::pumpUntil([&] { return frame.last >= 0; }, 2);
    if (frame.last >= 0) times.push_back(frame.last);
  }
  g_signal_handler_disconnect(clock, start);
  g_signal_handler_disconnect(clock, end);
  gtk_window_set_child(GTK_WINDOW(window), nullptr);
  gtk_window_destroy(GTK_WINDOW(window));
  if (times.size() < 10) return -1;  // the animations did not drive frames
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

double viewFrameTime(const std::shared_ptr<View>& views) {
  GtkWidget* window = gtk_window_new();
  gtk_window_set_default_size(GTK_WINDOW(window), 1200, 1200);
  auto* root = static_cast<GtkWidget*>(views->nativeWidget());
  gtk_window_set_child(GTK_WINDOW(window), root);
  gtk_window_present(GTK_WINDOW(window));
  pumpUntilMapped(root);
  const double time = frameTime(window, root);
  gtk_window_set_child(GTK_WINDOW(window), nullptr);
  gtk_window_destroy(GTK_WINDOW(window));
  return time;
}

void pumpUntilMapped(GtkWidget* widget) {
  for (int i = 0; i < 2000 && !gtk_widget_get_mapped(widget); ++i)
    g_main_context_iteration(nullptr, FALSE);
  for (int i = 0; i < 200; ++i) g_main_context_iteration(nullptr, FALSE);
}

}  // namespace

int main() {
  if (!initToolkit()) {
    std::fprintf(stderr, "no display: run under xvfb-run\n");
    return 1;
  }
  auto views = viewChain(true);
  const double offscreen = [&] {
    double best = 1e9;
    for (int round = 0; round < kRounds; ++round) {
      best = std::min(best, millisecondsOf([&] {
                        GtkSnapshot* snapshot = gtk_snapshot_new();
                        drawView(*views, snapshot, false);
                        GskRenderNode* node = gtk_snapshot_free_to_node(snapshot);
                        if (node) gsk_render_node_unref(node);
                      }));
    }
    return best;
  }();

  const double animatedFrame = animatedFrameTime();
  const double styledFrame = viewFrameTime(views);
  const double plainFrame = viewFrameTime(viewChain(false));

  auto boxFrameTime = [](bool styled) {
    GtkWidget* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 1200, 1200);
    GtkWidget* boxes = boxChain(styled);
    gtk_window_set_child(GTK_WINDOW(window), boxes);
    gtk_window_present(GTK_WINDOW(window));
    pumpUntilMapped(boxes);
    const double time = frameTime(window, boxes);
    gtk_window_destroy(GTK_WINDOW(window));
    return time;
  };
  const double reference = boxFrameTime(false);
  const double styledReference = boxFrameTime(true);

  std::printf("%d nested views\n\n", kViews);
  std::printf("snapshot of styled views, offscreen (best of %d): %8.3f ms\n", kRounds, offscreen);
  std::printf("full redraw frame, our styled views (median):    %8.3f ms\n", styledFrame);
  std::printf("full redraw frame, our plain views (median):     %8.3f ms\n", plainFrame);
  std::printf("full redraw frame, GTK plain boxes (median):     %8.3f ms\n", reference);
  std::printf("ratio our plain views / GTK plain boxes:         %8.2f (goal: at most 1.5)\n",
              plainFrame / reference);
  std::printf("full redraw frame, GTK boxes styled by CSS:      %8.3f ms\n", styledReference);
  std::printf("ratio our styled views / GTK plain boxes:        %8.2f\n", styledFrame / reference);
  std::printf("ratio our styled views / GTK styled boxes:       %8.2f\n",
              styledFrame / styledReference);
  std::printf("\n%d views animating opacity and transform, median frame: %8.3f ms\n",
              kAnimatedViews, animatedFrame);
  return 0;
}
