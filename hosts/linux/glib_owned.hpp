#pragma once
// Owners for what GLib and GIO hand over, each freed the way GLib says.

#include <memory>

#include <gio/gio.h>

namespace pivra::glib {

struct ObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using Owned = std::unique_ptr<T, ObjectUnref>;

struct Free {
    void operator()(gpointer memory) const { g_free(memory); }
};
using OwnedText = std::unique_ptr<gchar, Free>;

struct KeyFileFree {
    void operator()(GKeyFile* keys) const { g_key_file_free(keys); }
};
using OwnedKeyFile = std::unique_ptr<GKeyFile, KeyFileFree>;

// A list of app infos, each unreferenced with it.
struct AppListFree {
    void operator()(GList* list) const { g_list_free_full(list, g_object_unref); }
};
using OwnedAppList = std::unique_ptr<GList, AppListFree>;

struct ErrorFree {
    void operator()(GError* error) const { g_error_free(error); }
};
using OwnedError = std::unique_ptr<GError, ErrorFree>;

}  // namespace pivra::glib
