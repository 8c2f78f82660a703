#pragma once
// The system's save and open panels, for exporting and importing files.

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace pivra {

struct SavePanelRequest {
    std::string suggestedName;  // "pivra-rules.json"
    std::string fileExtension;  // the content type by its extension, "json"
};

struct OpenPanelRequest {
    std::string fileExtension;  // only files of this type can be chosen; one file
};

class Dialogs {
public:
    // Receives the chosen location, or nothing when the user cancelled.
    using Completion = std::function<void(std::optional<std::filesystem::path>)>;

    virtual ~Dialogs() = default;

    // Brings the app forward and shows a save panel. `completion` runs once on
    // the main thread, possibly before this returns. Where the platform has no
    // panels, it runs with nothing, as if cancelled.
    virtual void chooseSaveLocation(const SavePanelRequest& request, Completion completion) = 0;

    // Brings the app forward and shows an open panel for one file; the same
    // contract as chooseSaveLocation.
    virtual void chooseFileToOpen(const OpenPanelRequest& request, Completion completion) = 0;
};

}  // namespace pivra
