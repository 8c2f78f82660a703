// pivra_icons: writes the app's icon as files, for builds and packages. Needs
// no display.
//
//   pivra_icons icns FILE              the Mac's icon file, every size it holds
//   pivra_icons png FOLDER [SIZE...]   FOLDER/pivra-SIZE.png for each size
//                                      (default 16 32 48 64 128 256 512 1024)
//
// Each file is replaced at once. Exit status 0, 1 when a file can't be drawn
// or written, 2 for bad usage.

#include <charconv>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "app/storage/file_io.hpp"
#include "gui/icon/app_icon.hpp"

namespace {

namespace fs = std::filesystem;

constexpr int kUsage = 2, kFailed = 1;

int usage() {
    std::cerr << "usage: pivra_icons icns FILE | pivra_icons png FOLDER [SIZE...]\n";
    return kUsage;
}

int fail(const std::string& message) {
    std::cerr << "pivra_icons: " << message << "\n";
    return kFailed;
}

int write(const fs::path& file, std::string_view bytes) {
    if (const auto written = pivra::writeFileAtomicallyOrError(file, bytes); !written) {
        return fail("can’t write " + file.string() + ": " + written.error().message());
    }
    std::cout << "Wrote " << file.string() << "\n";
    return 0;
}

int writeIcns(const fs::path& file) {
    const auto bytes = pivra::appIconIcns();
    if (!bytes) return fail(bytes.error());
    return write(file, *bytes);
}

int writePngs(const fs::path& folder, const std::vector<std::string>& sizeTexts) {
    std::vector<int> sizes{16, 32, 48, 64, 128, 256, 512, 1024};
    if (!sizeTexts.empty()) {
        sizes.clear();
        for (const auto& text : sizeTexts) {
            int pixels = 0;
            const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), pixels);
            if (error != std::errc() || end != text.data() + text.size() || pixels < 1 || pixels > 4096) {
                std::cerr << "pivra_icons: “" << text << "” isn’t a size from 1 to 4096\n";
                return kUsage;
            }
            sizes.push_back(pixels);
        }
    }
    for (const int pixels : sizes) {
        const auto png = pivra::appIconPng(pixels);
        if (!png) return fail("can’t draw the icon at " + std::to_string(pixels) + " pixels");
        if (const int status = write(folder / ("pivra-" + std::to_string(pixels) + ".png"), *png); status != 0) return status;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.size() == 2 && args[0] == "icns") return writeIcns(args[1]);
    if (args.size() >= 2 && args[0] == "png") return writePngs(args[1], {args.begin() + 2, args.end()});
    return usage();
}
