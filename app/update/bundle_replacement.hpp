#pragma once
// Putting a new copy of the app where the running one is, through the
// bundle-file operations: the updater's way of installing.

#include "app/ports/bundle_files.hpp"
#include "app/update/updater.hpp"

namespace pivra {

// A replacement that copies the new bundle beside the running one first (the
// two may be on different volumes), swaps the two by renaming, and moves the
// old one to the Trash. Until the swap, a failure leaves the running bundle
// as it was and removes the copy; after it, an old copy that cannot be
// trashed stays in a hidden folder beside the new one rather than being deleted.
// `files` must outlive the replacement and be safe to use off the main thread.
BundleReplacement bundleReplacement(BundleFiles& files);

}  // namespace pivra
