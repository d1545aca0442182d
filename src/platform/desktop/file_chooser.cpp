#include "platform/desktop/file_chooser.h"

#include <gtk/gtk.h>

#include <memory>
#include <utility>

#include "platform/toolkit/window.h"

// The native chooser is the one that speaks to the desktop portal; newer GTK releases deprecate
// it in favour of an API that 4.8 does not have yet.
G_GNUC_BEGIN_IGNORE_DEPRECATIONS

namespace talvero::desktop {

namespace {

std::vector<std::string> chosenPaths(GtkFileChooser* chooser) {
  std::vector<std::string> paths;
  GListModel* files = gtk_file_chooser_get_files(chooser);
  const guint count = g_list_model_get_n_items(files);
  for (guint i = 0; i < count; ++i) {
    auto* file = static_cast<GFile*>(g_list_model_get_item(files, i));
    if (char* path = g_file_get_path(file)) {
      paths.emplace_back(path);
      g_free(path);
    }
    g_object_unref(file);
  }
  g_object_unref(files);
  return paths;
}

void onResponse(GtkNativeDialog* dialog, int response, gpointer data) {
  std::unique_ptr<FileChoiceDone> done(static_cast<FileChoiceDone*>(data));
  std::optional<std::vector<std::string>> paths;
  if (response == GTK_RESPONSE_ACCEPT) paths = chosenPaths(GTK_FILE_CHOOSER(dialog));
  g_object_unref(dialog);
  (*done)(std::move(paths));
}

void applyContentTypes(GtkFileChooser* chooser, const std::vector<std::string>& contentTypes) {
  if (contentTypes.empty()) return;
  GtkFileFilter* filter = gtk_file_filter_new();
  gtk_file_filter_set_name(filter, "Supported files");
  for (const std::string& type : contentTypes) gtk_file_filter_add_mime_type(filter, type.c_str());
  gtk_file_chooser_add_filter(chooser, filter);
  gtk_file_chooser_set_filter(chooser, filter);
  g_object_unref(filter);
}

}  // namespace

void chooseFiles(toolkit::Window* parent, const FileChoice& choice, FileChoiceDone done) {
  if (!toolkit::toolkitReady()) {
    done(std::nullopt);
    return;
  }
  GtkWindow* parentWindow = parent ? GTK_WINDOW(parent->nativeWindow()) : nullptr;
  GtkFileChooserNative* native = gtk_file_chooser_native_new(
      "Open", parentWindow, GTK_FILE_CHOOSER_ACTION_OPEN, nullptr, nullptr);
  GtkFileChooser* chooser = GTK_FILE_CHOOSER(native);
  gtk_file_chooser_set_select_multiple(chooser, choice.multiple);
  applyContentTypes(chooser, choice.contentTypes);
  gtk_native_dialog_set_modal(GTK_NATIVE_DIALOG(native), parentWindow != nullptr);
  // The dialog keeps itself until its one response, which releases it and the callback.
  g_signal_connect(native, "response", G_CALLBACK(onResponse), new FileChoiceDone(std::move(done)));
  gtk_native_dialog_show(GTK_NATIVE_DIALOG(native));
}

}  // namespace talvero::desktop

G_GNUC_END_IGNORE_DEPRECATIONS
