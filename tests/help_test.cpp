#include "help.h"

#include "control.h"
#include "doctest.h"
#include "test_phone.h"

TEST_CASE("help starts the viewer on the help file at the anchor")
{
    TestPhone phone;
    openHelp(L"options-alarm");
    CHECK(phone.journal("process") == std::vector<std::string>{"process peghelp.exe Kelvane.htm#options-alarm"});
}

TEST_CASE("each call for help starts the viewer anew")
{
    TestPhone phone;
    openHelp(L"options-user");
    openHelp(L"options-adv");
    CHECK(phone.journal("process") == std::vector<std::string>{"process peghelp.exe Kelvane.htm#options-user",
                                                               "process peghelp.exe Kelvane.htm#options-adv"});
}

TEST_CASE("help keeps no handle of the viewer")
{
    TestPhone phone;
    const int before = SimLiveProcesses();
    openHelp(L"options-user");
    CHECK(SimLiveProcesses() == before);
}

TEST_CASE("a phone without the viewer shows nothing and goes on")
{
    TestPhone phone;
    phone.set(L"programs", L"present", L"");
    const int before = SimLiveProcesses();
    openHelp(L"options-user");
    CHECK(phone.journal() == std::vector<std::string>{"process peghelp.exe Kelvane.htm#options-user not found"});
    CHECK(SimLiveProcesses() == before);
    CHECK(phone.log().empty());
}

TEST_CASE("an anchor of 51 characters arrives whole, a longer one is cut there")
{
    TestPhone phone;
    const std::wstring longest(51, L'a');
    openHelp(longest.c_str());
    openHelp((longest + L"b").c_str());
    const std::string expected = "process peghelp.exe Kelvane.htm#" + std::string(51, 'a');
    CHECK(phone.journal("process") == std::vector<std::string>{expected, expected});
}
