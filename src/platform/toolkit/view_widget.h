#pragma once

// The GTK widget behind every view. Shared by the files of the toolkit only.

#include <gtk/gtk.h>

#include <functional>

#include "platform/toolkit/geometry.h"

namespace talvero::toolkit {
class View;
}

G_BEGIN_DECLS
#define TALVERO_TYPE_VIEW_WIDGET (talvero_view_widget_get_type())
G_DECLARE_FINAL_TYPE(TalveroViewWidget, talvero_view_widget, TALVERO, VIEW_WIDGET, GtkWidget)
G_END_DECLS

namespace talvero::toolkit {

GtkWidget* newViewWidget(View* view);
View* viewOfWidget(GtkWidget* widget);
// Called when the top view of a window is given a new size.
void setRootResizeHook(GtkWidget* widget, std::function<void(Size)> hook);

}  // namespace talvero::toolkit
