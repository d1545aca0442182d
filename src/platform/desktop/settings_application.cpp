#include "platform/desktop/settings_application.h"

#include <gio/gio.h>

#include <array>
#include <string_view>

namespace talvero::desktop {

namespace {

// Desktop entry ids of the settings applications, the current names before the older ones.
constexpr std::array<std::string_view, 8> kSettingsApplications = {
    "org.gnome.Settings.desktop",  "gnome-control-center.desktop",  "systemsettings.desktop",
    "kdesystemsettings.desktop",   "xfce-settings-manager.desktop", "cinnamon-settings.desktop",
    "mate-control-center.desktop", "lxqt-config.desktop",
};

// The first installed entry that the running desktop shows: "OnlyShowIn" keeps a GNOME
// session from opening the KDE settings where both are installed.
GAppInfo* findSettingsApplication() {
  GList* all = g_app_info_get_all();
  GAppInfo* found = nullptr;
  for (std::string_view id : kSettingsApplications) {
    for (GList* item = all; item && !found; item = item->next) {
      auto* application = static_cast<GAppInfo*>(item->data);
      const char* itemId = g_app_info_get_id(application);
      if (itemId && id == itemId && g_app_info_should_show(application)) {
        found = G_APP_INFO(g_object_ref(application));
      }
    }
    if (found) break;
  }
  g_list_free_full(all, g_object_unref);
  return found;
}

}  // namespace

bool openSettingsApplication() {
  GAppInfo* application = findSettingsApplication();
  if (!application) return false;
  GError* error = nullptr;
  const bool launched = g_app_info_launch(application, nullptr, nullptr, &error);
  if (error) g_error_free(error);
  g_object_unref(application);
  return launched;
}

}  // namespace talvero::desktop
