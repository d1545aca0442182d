#include "platform/desktop/share.h"

#include <gtk/gtk.h>

#include "platform/toolkit/window.h"

// The application chooser dialog is the one "open with" of GTK 4.8; later releases deprecate
// it without a replacement that chooses among applications.
G_GNUC_BEGIN_IGNORE_DEPRECATIONS

namespace talvero::desktop {

namespace {

void launchOn(GAppInfo* application, GFile* file) {
  GList files{file, nullptr, nullptr};
  GError* error = nullptr;
  // A failed launch is the user's desktop's business: sharing reports nothing.
  g_app_info_launch(application, &files, nullptr, &error);
  if (error) g_error_free(error);
}

void onResponse(GtkDialog* dialog, int response, gpointer data) {
  auto* file = static_cast<GFile*>(data);
  if (response == GTK_RESPONSE_OK) {
    if (GAppInfo* application = gtk_app_chooser_get_app_info(GTK_APP_CHOOSER(dialog))) {
      launchOn(application, file);
      g_object_unref(application);
    }
  }
  g_object_unref(file);
  gtk_window_destroy(GTK_WINDOW(dialog));
}

}  // namespace

void shareItems(toolkit::Window& window, const ShareItems& items) {
  GFile* file = g_file_new_for_uri(items.fileUri.c_str());
  char* name = g_file_get_basename(file);
  char* contentType = g_content_type_guess(name, nullptr, 0, nullptr);
  GtkWidget* dialog = gtk_app_chooser_dialog_new_for_content_type(
      GTK_WINDOW(window.nativeWindow()),
      static_cast<GtkDialogFlags>(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT), contentType);
  g_free(contentType);
  g_free(name);
  if (items.text) {
    // The heading is markup; the text is shown as it is.
    char* heading = g_markup_escape_text(items.text->c_str(), -1);
    gtk_app_chooser_dialog_set_heading(GTK_APP_CHOOSER_DIALOG(dialog), heading);
    g_free(heading);
  }
  g_signal_connect(dialog, "response", G_CALLBACK(onResponse), file);
  gtk_window_present(GTK_WINDOW(dialog));
}

std::string fileUriOf(const std::string& path) {
  char* uri = g_filename_to_uri(path.c_str(), nullptr, nullptr);
  std::string text = uri ? uri : "";
  g_free(uri);
  return text;
}

}  // namespace talvero::desktop

G_GNUC_END_IGNORE_DEPRECATIONS
