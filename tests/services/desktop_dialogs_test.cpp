#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/content_types.h"
#include "platform/desktop/file_chooser.h"
#include "platform/desktop/share.h"
#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/window.h"
#include "scratch_dir.h"

// The chooser and "open with" dialogs of GTK 4.8 that the desktop layer drives.
G_GNUC_BEGIN_IGNORE_DEPRECATIONS

namespace talvero {
namespace {

using desktop::contentTypesForAccept;
using desktop::mimeTypeForFileName;
using Texts = std::vector<std::string>;

TEST(AcceptTypes, FamiliesMimeNamesAndExtensionsResolveInOrderWithoutRepeats) {
  EXPECT_EQ(contentTypesForAccept({"image/*"}), Texts{"image/*"});
  EXPECT_EQ(contentTypesForAccept({"video/*", "text/*", "audio/*"}),
            (Texts{"video/*", "text/*", "audio/*"}));
  EXPECT_EQ(contentTypesForAccept({".png"}), Texts{"image/png"});
  EXPECT_EQ(contentTypesForAccept({"png", "..png.", "image/png", "PNG"}), Texts{"image/png"});
  EXPECT_EQ(contentTypesForAccept({"application/json", "tar.gz"}),
            (Texts{"application/json", "application/x-compressed-tar"}));
  // An alias stands for the type that the system files it under.
  EXPECT_EQ(contentTypesForAccept({"application/x-javascript"}), Texts{"application/javascript"});
}

TEST(AcceptTypes, UnknownNamesFoldersAndEmptyTextsAreSkipped) {
  EXPECT_EQ(contentTypesForAccept({"", "...", "no/such-type", "zzqx", "image/",
                                   "image/png,image/jpeg", "inode/directory"}),
            Texts{});
  EXPECT_EQ(contentTypesForAccept({"zzqx", "jpg"}), Texts{"image/jpeg"});
}

TEST(AcceptTypes, AFileNameHasTheMimeTypeOfItsExtensionOrPlainData) {
  EXPECT_EQ(mimeTypeForFileName("Photo.JPG"), "image/jpeg");
  EXPECT_EQ(mimeTypeForFileName("backup.tar.gz"), "application/x-compressed-tar");
  EXPECT_EQ(mimeTypeForFileName("notes.zzqx"), "application/octet-stream");
  EXPECT_EQ(mimeTypeForFileName("noextension"), "application/octet-stream");
  EXPECT_EQ(mimeTypeForFileName(""), "application/octet-stream");
}

TEST(DesktopShare, AFileUriEscapesWhatAUriCannotHold) {
  EXPECT_EQ(desktop::fileUriOf("/tmp/a b#1.png"), "file:///tmp/a%20b%231.png");
}

// The real dialogs, shown for a window of a running application on the virtual display and
// answered as the user would.
class DesktopDialogs : public testing::ScratchDirTest {
 protected:
  void SetUp() override {
    ScratchDirTest::SetUp();
    // The chooser saves its state in the user's settings when it closes; keep those untouched.
    g_setenv("GSETTINGS_BACKEND", "memory", TRUE);
    ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
  }

  void withWindow(const std::function<void(toolkit::Window&)>& body) {
    toolkit::Application application("org.talvero.DesktopDialogsTest");
    application.run([&] {
      {
        toolkit::Window window(application, "dialogs", 200, 200);
        window.present();
        dispatch::pumpFor(0.05);
        body(window);
      }
      application.quit();
    });
  }

  // The first shown top-level window of `type`, or null.
  static GtkWindow* shownWindowOf(GType type) {
    GListModel* toplevels = gtk_window_get_toplevels();
    GtkWindow* found = nullptr;
    for (guint i = 0; i < g_list_model_get_n_items(toplevels) && !found; ++i) {
      auto* window = static_cast<GtkWindow*>(g_list_model_get_item(toplevels, i));
      if (G_TYPE_CHECK_INSTANCE_TYPE(window, type) && gtk_widget_get_visible(GTK_WIDGET(window))) {
        found = window;
      }
      g_object_unref(window);
    }
    return found;
  }

  // The dialog of `type` that the call before showed, waiting for it a while.
  static GtkWindow* shownDialog(GType type) {
    GtkWindow* found = nullptr;
    dispatch::pumpUntil([&] { return (found = shownWindowOf(type)) != nullptr; }, 5);
    return found;
  }

  static bool filterTakes(GtkFileFilter* filter, const char* contentType) {
    GFileInfo* info = g_file_info_new();
    g_file_info_set_display_name(info, "file");
    g_file_info_set_content_type(info, contentType);
    const bool taken = gtk_filter_match(GTK_FILTER(filter), info);
    g_object_unref(info);
    return taken;
  }

  std::optional<std::optional<Texts>> answer;
  desktop::FileChoiceDone recordAnswer() {
    return [this](std::optional<Texts> paths) { answer = std::move(paths); };
  }
  bool waitForAnswer() {
    return dispatch::pumpUntil([this] { return answer.has_value(); }, 5);
  }
};

using DesktopFileChooser = DesktopDialogs;

TEST_F(DesktopFileChooser, IsModalForTheWindowFiltersByTypeAndCancellingAnswersNothing) {
  withWindow([&](toolkit::Window& window) {
    desktop::chooseFiles(&window, {true, {"image/*", "application/json"}}, recordAnswer());
    GtkWindow* dialog = shownDialog(GTK_TYPE_FILE_CHOOSER_DIALOG);
    ASSERT_NE(dialog, nullptr);
    EXPECT_FALSE(answer.has_value());
    EXPECT_EQ(gtk_window_get_transient_for(dialog), GTK_WINDOW(window.nativeWindow()));
    EXPECT_TRUE(gtk_window_get_modal(dialog));
    GtkFileChooser* chooser = GTK_FILE_CHOOSER(dialog);
    EXPECT_EQ(gtk_file_chooser_get_action(chooser), GTK_FILE_CHOOSER_ACTION_OPEN);
    EXPECT_TRUE(gtk_file_chooser_get_select_multiple(chooser));
    GtkFileFilter* filter = gtk_file_chooser_get_filter(chooser);
    ASSERT_NE(filter, nullptr);
    EXPECT_TRUE(filterTakes(filter, "image/png"));
    EXPECT_TRUE(filterTakes(filter, "image/svg+xml"));
    EXPECT_TRUE(filterTakes(filter, "application/json"));
    EXPECT_FALSE(filterTakes(filter, "text/plain"));
    EXPECT_FALSE(filterTakes(filter, "video/mp4"));

    gtk_dialog_response(GTK_DIALOG(dialog), GTK_RESPONSE_CANCEL);
    ASSERT_TRUE(waitForAnswer());
    EXPECT_EQ(*answer, std::nullopt);
  });
}

TEST_F(DesktopFileChooser, WithoutTypesAndWithoutAWindowAcceptingAnswersTheChosenPath) {
  const auto notes = write("notes.txt", "hello");
  withWindow([&](toolkit::Window&) {
    desktop::chooseFiles(nullptr, {false, {}}, recordAnswer());
    GtkWindow* dialog = shownDialog(GTK_TYPE_FILE_CHOOSER_DIALOG);
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(gtk_window_get_transient_for(dialog), nullptr);
    GtkFileChooser* chooser = GTK_FILE_CHOOSER(dialog);
    EXPECT_FALSE(gtk_file_chooser_get_select_multiple(chooser));
    EXPECT_EQ(gtk_file_chooser_get_filter(chooser), nullptr);

    GFile* file = g_file_new_for_path(notes.c_str());
    gtk_file_chooser_set_file(chooser, file, nullptr);
    // The chooser selects the file once it has listed its folder.
    EXPECT_TRUE(dispatch::pumpUntil(
        [&] {
          GFile* selected = gtk_file_chooser_get_file(chooser);
          const bool same = selected && g_file_equal(selected, file);
          if (selected) g_object_unref(selected);
          return same;
        },
        5));
    g_object_unref(file);
    gtk_dialog_response(GTK_DIALOG(dialog), GTK_RESPONSE_ACCEPT);
    ASSERT_TRUE(waitForAnswer());
    EXPECT_EQ(*answer, Texts{notes.string()});
  });
}

TEST_F(DesktopDialogs, SharingOffersTheApplicationsForTheFileWithTheTextAsHeading) {
  const auto picture = write("share-1.png", "png");
  withWindow([&](toolkit::Window& window) {
    desktop::shareItems(window, {desktop::fileUriOf(picture.string()), "Tom & Jerry <3"});
    GtkWindow* dialog = shownDialog(GTK_TYPE_APP_CHOOSER_DIALOG);
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(gtk_window_get_transient_for(dialog), GTK_WINDOW(window.nativeWindow()));
    EXPECT_TRUE(gtk_window_get_modal(dialog));
    char* type = gtk_app_chooser_get_content_type(GTK_APP_CHOOSER(dialog));
    EXPECT_STREQ(type, "image/png");
    g_free(type);
    // The heading is markup: the text must arrive as it was written.
    EXPECT_STREQ(gtk_app_chooser_dialog_get_heading(GTK_APP_CHOOSER_DIALOG(dialog)),
                 "Tom &amp; Jerry &lt;3");

    gtk_dialog_response(GTK_DIALOG(dialog), GTK_RESPONSE_CANCEL);
    EXPECT_TRUE(dispatch::pumpUntil(
        [] { return shownWindowOf(GTK_TYPE_APP_CHOOSER_DIALOG) == nullptr; }, 5));
  });
}

}  // namespace
}  // namespace talvero

G_GNUC_END_IGNORE_DEPRECATIONS
