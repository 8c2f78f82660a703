// screens: renders windows of the app in their states to PNG files, on
// Qt's offscreen platform, in light and dark.
//
//   screens OUTPUT_FOLDER [SHOT...]     every shot, or the ones named
//   screens --list                      the names of the shots

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <set>

#include <QApplication>
#include <QFont>

#include "tests/gui/screens.hpp"

int main(int argc, char** argv) {
    using namespace pivra;
    // The same pictures on every machine: no display, a fixed font.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // The offscreen platform says so whenever a window is raised or grabs the keyboard.
    static const QtMessageHandler standard = qInstallMessageHandler(nullptr);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& text) {
        if (text.startsWith(QLatin1String("This plugin does not support"))) return;
        standard(type, context, text);
    });
    QApplication application(argc, argv);
    QApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
    const auto shots = screens::allShots();
    if (argc >= 2 && std::string(argv[1]) == "--list") {
        for (const auto& shot : shots) std::cout << shot.name << "\n";
        return 0;
    }
    if (argc < 2) {
        std::cerr << "usage: screens OUTPUT_FOLDER [SHOT...] | screens --list\n";
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    std::set<std::string> wanted(argv + 2, argv + argc);
    std::set<std::string> unknown = wanted;
    for (const auto& shot : shots) unknown.erase(shot.name);
    if (!unknown.empty()) {
        std::cerr << "screens: no shot named " << *unknown.begin() << " (screens --list names them)\n";
        return 2;
    }
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        std::cerr << "screens: can’t make " << folder << ": " << error.message() << "\n";
        return 1;
    }
    int written = 0;
    for (const auto& shot : shots) {
        if (!wanted.empty() && !wanted.contains(shot.name)) continue;
        for (const bool dark : {false, true}) {
            const Theme theme = dark ? Theme::dark(QStringLiteral("Blue")) : Theme::light(QStringLiteral("Blue"));
            const QImage image = shot.render(theme);
            const auto file = folder / (shot.name + (dark ? "-dark" : "-light") + ".png");
            if (image.isNull() || !image.save(QString::fromStdString(file.string()))) {
                std::cerr << "screens: couldn’t render " << file.string() << "\n";
                return 1;
            }
            std::cout << file.string() << "\n";
            ++written;
        }
    }
    std::cout << written << " pictures\n";
    return 0;
}
