// The Linux system's description, read from a file tree laid out as the
// system's own (os-release, the DMI table), and from the kernel where those
// say nothing.

#include "hosts/linux/os_release_system_info.hpp"

#include <sys/utsname.h>

#include <gtest/gtest.h>

#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using testing_support::TempFolder;

TEST(OsRelease, ValuesAreBareOrQuotedAndCommentsAreSkipped) {
    const auto values = parseOsRelease(
        "# comment\n"
        "NAME=\"Debian GNU/Linux\"\n"
        "VERSION_ID='12'\n"
        "ID=debian\n"
        "PRETTY=\"say \\\"hi\\\" \\\\ \\$x\"\n"
        "  SPACED=\"kept \"  \n"
        "BROKEN=\"not closed\n"
        "=no key\n"
        "no equals\n");
    EXPECT_EQ(values, (std::map<std::string, std::string, std::less<>>{{"NAME", "Debian GNU/Linux"},
                                                                       {"VERSION_ID", "12"},
                                                                       {"ID", "debian"},
                                                                       {"PRETTY", "say \"hi\" \\ $x"},
                                                                       {"SPACED", "kept "}}));
}

TEST(OsReleaseSystemInfo, ReadsTheDistributionAndTheMachineElseTheKernel) {
    utsname kernel{};
    ASSERT_EQ(::uname(&kernel), 0);
    TempFolder root;
    const OsReleaseSystemInfo info(root.path());
    EXPECT_EQ(info.systemName(), "Linux");
    EXPECT_EQ(info.systemVersion(), kernel.release);
    EXPECT_EQ(info.machineModel(), kernel.machine);

    root.write("usr/lib/os-release", "NAME=Fedora Linux\nVERSION_ID=40\n");
    root.write("sys/devices/virtual/dmi/id/product_name", "Precision 5570\n");
    EXPECT_EQ(info.systemName(), "Fedora Linux");
    EXPECT_EQ(info.systemVersion(), "40");
    EXPECT_EQ(info.machineModel(), "Precision 5570");

    // /etc's file comes first; a rolling release has no VERSION_ID.
    root.write("etc/os-release", "NAME=\"Arch Linux\"\n");
    root.write("sys/devices/virtual/dmi/id/product_name", " \n");
    EXPECT_EQ(info.systemName(), "Arch Linux");
    EXPECT_EQ(info.systemVersion(), kernel.release);
    EXPECT_EQ(info.machineModel(), kernel.machine);
}

}  // namespace
}  // namespace pivra
