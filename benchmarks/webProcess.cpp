// Shows the offer as a page in a web view. Says "drawn" when the first frame is complete, then the median of
// the later ones in milliseconds, each from handing the page over.

#include <cstdio>
#include <string>

#include <webkit/webkit.h>

#include "Figures.h"
#include "Offer.h"

namespace {

using namespace sorn;

constexpr int laterFrames = 10;

struct Show {
  WebKitWebView* view = nullptr;
  GMainLoop* loop = nullptr;
  std::string page;
  int frames = 0;
  bench::Clock::time_point begin;
  bench::Samples samples;
};

void load(Show& show) {
  show.begin = bench::Clock::now();
  webkit_web_view_load_html(show.view, show.page.c_str(), nullptr);
}

// A message is handled before its frame is on the way out, so the next page waits for the loop.
int loadNext(void* data) {
  load(*static_cast<Show*>(data));
  return G_SOURCE_REMOVE;
}

void drawn(WebKitUserContentManager*, JSCValue*, void* data) {
  Show& show = *static_cast<Show*>(data);
  if (show.frames++ == 0) {
    std::puts("drawn");
    std::fflush(stdout);
  } else {
    show.samples.add(bench::microsecondsSince(show.begin) / 1000);
  }
  if (show.frames > laterFrames) return g_main_loop_quit(show.loop);
  g_timeout_add(50, loadNext, data);
}

}  // namespace

int main() {
  if (!gtk_init_check()) return 2;
  Show show;
  show.page = bench::offerPage(bench::offerPicture());
  show.loop = g_main_loop_new(nullptr, FALSE);
  show.view = WEBKIT_WEB_VIEW(webkit_web_view_new());
  WebKitUserContentManager* manager = webkit_web_view_get_user_content_manager(show.view);
  g_signal_connect(manager, "script-message-received::drawn", G_CALLBACK(drawn), &show);
  webkit_user_content_manager_register_script_message_handler(manager, "drawn", nullptr);
  GtkWidget* window = gtk_window_new();
  gtk_window_set_default_size(GTK_WINDOW(window), bench::offerWidth, bench::offerHeight);
  gtk_window_set_child(GTK_WINDOW(window), GTK_WIDGET(show.view));
  gtk_window_present(GTK_WINDOW(window));
  load(show);
  g_main_loop_run(show.loop);
  std::printf("%f\n", show.samples.median());
}
