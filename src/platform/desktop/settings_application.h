#pragma once

namespace talvero::desktop {

// Starts the settings application of the running desktop (GNOME, KDE Plasma, Xfce, Cinnamon,
// MATE, LXQt), the first one installed that the desktop shows. False when there is none: the
// desktop has no common way to name its settings.
bool openSettingsApplication();

}  // namespace talvero::desktop
