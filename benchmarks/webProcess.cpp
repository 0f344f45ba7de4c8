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
  GtkWindow* window = nullptr;
  WebKitWebView* view = nullptr;
  GMainLoop* loop = nullptr;
  std::string page;
  int frames = 0;
  bench::Clock::time_point begin;
  bench::Samples inNewView;
  bench::Samples inSameView;
};

void drawn(WebKitUserContentManager*, JSCValue*, void* data);

void load(Show& show) { webkit_web_view_load_html(show.view, show.page.c_str(), nullptr); }

void loadInNewView(Show& show) {
  show.view = WEBKIT_WEB_VIEW(webkit_web_view_new());
  WebKitUserContentManager* manager = webkit_web_view_get_user_content_manager(show.view);
  g_signal_connect(manager, "script-message-received::drawn", G_CALLBACK(drawn), &show);
  webkit_user_content_manager_register_script_message_handler(manager, "drawn", nullptr);
  gtk_window_set_child(show.window, GTK_WIDGET(show.view));
  load(show);
}

int loadNext(void* data) {
  Show& show = *static_cast<Show*>(data);
  show.begin = bench::Clock::now();
  if (show.frames <= laterFrames) {
    loadInNewView(show);
  } else {
    load(show);
  }
  return G_SOURCE_REMOVE;
}

void drawn(WebKitUserContentManager*, JSCValue*, void* data) {
  Show& show = *static_cast<Show*>(data);
  const double milliseconds = bench::microsecondsSince(show.begin) / 1000;
  if (show.frames == 0) {
    std::puts("drawn");
    std::fflush(stdout);
  } else {
    (show.frames <= laterFrames ? show.inNewView : show.inSameView).add(milliseconds);
  }
  if (++show.frames > 2 * laterFrames) return g_main_loop_quit(show.loop);
  // A message is handled before its frame is on the way out, so the next page waits for the loop.
  g_timeout_add(50, loadNext, data);
}

}  // namespace

int main() {
  if (!gtk_init_check()) return 2;
  Show show;
  show.page = bench::offerPage(bench::offerPicture());
  show.loop = g_main_loop_new(nullptr, FALSE);
  show.window = GTK_WINDOW(gtk_window_new());
  gtk_window_set_default_size(show.window, bench::offerWidth, bench::offerHeight);
  loadInNewView(show);
  gtk_window_present(show.window);
  g_main_loop_run(show.loop);
  std::printf("%f\n%f\n", show.inNewView.median(), show.inSameView.median());
}
