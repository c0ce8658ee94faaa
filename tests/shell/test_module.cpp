#include <gtest/gtest.h>

#include <sstream>

#include "shell/host/Host.h"
#include "shell/module/LoadCalModule.h"

using namespace loadcal;

namespace {

int g_ran = 0;
void CountingCommand()
{
    ++g_ran;
}

}  // namespace

TEST(Module, LoadRegistersTheGroupAndUnloadRemovesIt)
{
    std::istringstream in;
    std::ostringstream out, err;
    CHost host(in, out, err);
    int packet = 0;
    EXPECT_EQ(acrxEntryPoint(kInitAppMsg, &packet), 0);

    const auto group = host.Commands().GroupCommands(L"OrmoLoadCal");
    ASSERT_EQ(group.size(), 2u);
    EXPECT_EQ(group[0].name, L"sample");
    EXPECT_EQ(group[1].name, L"FHJS");
    EXPECT_EQ(group[0].flags, 2);
    EXPECT_EQ(group[1].flags, 2);
    EXPECT_EQ(group[1].function, &FhjsCommand);
    EXPECT_TRUE(host.IsUnlocked(&packet));
    EXPECT_TRUE(host.Linker().IsMDIAware(&packet));
    EXPECT_EQ(out.str(), "");  // nothing is printed at load

    // Typed names are looked up without regard to case; "sample" does nothing.
    EXPECT_NE(host.Commands().Lookup(L"fhjs"), nullptr);
    EXPECT_TRUE(host.RunCommand(L"SAMPLE"));
    EXPECT_EQ(out.str(), "");

    // Drawing messages and unknown ones change nothing and answer 0.
    for (int msg : {int{kLoadDwgMsg}, int{kUnloadDwgMsg}, int{kInvkSubrMsg}, 99}) {
        EXPECT_EQ(acrxEntryPoint(msg, &packet), 0);
    }
    EXPECT_EQ(host.Commands().GroupCommands(L"OrmoLoadCal").size(), 2u);

    // Another group's commands stay when the module unloads.
    host.Commands().AddCommand(L"Other", L"KEEP", &CountingCommand, 0);
    EXPECT_EQ(acrxEntryPoint(kUnloadAppMsg, &packet), 0);
    EXPECT_TRUE(host.Commands().GroupCommands(L"OrmoLoadCal").empty());
    EXPECT_FALSE(host.RunCommand(L"FHJS"));
    EXPECT_TRUE(host.RunCommand(L"keep"));
    EXPECT_EQ(g_ran, 1);

    // Loading again registers again (the table outlives every registration).
    acrxEntryPoint(kInitAppMsg, &packet);
    EXPECT_EQ(host.Commands().GroupCommands(L"OrmoLoadCal").size(), 2u);
}

TEST(Module, DefiningCommandsWithoutAHostRegistersNothing)
{
    ASSERT_EQ(CHost::Current(), nullptr);
    EXPECT_EQ(QxDefineCommand(L"OrmoLoadCal", g_loadCalCommands, 2, 0), 0);
    EXPECT_EQ(acrxEntryPoint(kInitAppMsg, nullptr), 0);

    std::istringstream in;
    std::ostringstream out, err;
    CHost host(in, out, err);
    EXPECT_EQ(QxDefineCommand(L"G", g_loadCalCommands, 2, 0), 2);
    // A name can be registered once only, whatever its group.
    EXPECT_EQ(QxDefineCommand(L"H", g_loadCalCommands, 2, 0), 0);
    EXPECT_EQ(host.Commands().GroupCommands(L"G").size(), 2u);
}
