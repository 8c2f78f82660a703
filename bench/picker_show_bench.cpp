// How long the picker panel takes from a link's arrival to its first paint:
// the model's decision, the rows filled in, the window shown and painted.
// The panel is made once and reused, as in the app; the first show (which
// also polishes the widgets) is reported apart from the warm ones.
//
//   picker_show_bench [ROUNDS]     default 200; prints the median and the slowest

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <vector>

#include <QApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QTest>

#include "gui/picker/picker_view.hpp"
#include "tests/gui/gui_scene.hpp"

namespace {

class PaintWatch : public QObject {
public:
    bool painted = false;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) painted = true;
        return false;
    }
};

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static const QtMessageHandler standard = qInstallMessageHandler(nullptr);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& text) {
        if (!text.startsWith(QLatin1String("This plugin does not support"))) standard(type, context, text);
    });
    QApplication application(argc, argv);
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 200;

    pivra::testing_support::GuiScene scene;
    PaintWatch watch;
    scene.panel->view().installEventFilter(&watch);
    std::vector<double> micros;
    for (int i = 0; i <= rounds; ++i) {
        scene.fakes.clock.set(scene.fakes.clock.now() + std::chrono::seconds{10});
        watch.painted = false;
        QElapsedTimer timer;
        timer.start();
        scene.send("https://news.test/" + std::to_string(i));
        QElapsedTimer giveUp;
        giveUp.start();
        while (!watch.painted && giveUp.elapsed() < 2000) QCoreApplication::processEvents();
        const double elapsed = static_cast<double>(timer.nsecsElapsed()) / 1000.0;
        if (!watch.painted) {
            std::cerr << "picker_show_bench: the panel never painted\n";
            return 1;
        }
        micros.push_back(elapsed);
        QTest::keyClick(&scene.panel->view(), Qt::Key_Escape);
        QCoreApplication::processEvents();
    }
    const double first = micros.front();
    std::vector<double> warm(micros.begin() + 1, micros.end());
    std::sort(warm.begin(), warm.end());
    std::cout << "link to first paint, first show: " << first / 1000.0 << " ms\n"
              << "link to first paint, warm (" << warm.size() << " rounds): median " << warm[warm.size() / 2] / 1000.0
              << " ms, 95th percentile " << warm[warm.size() * 95 / 100] / 1000.0 << " ms, slowest "
              << warm.back() / 1000.0 << " ms\n";
    return 0;
}
