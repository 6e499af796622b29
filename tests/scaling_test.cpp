#include "scaling.h"

#include "control.h"
#include "doctest.h"
#include "page_window.h"
#include "test_phone.h"

namespace {

// Gives the phone another screen, as if it had been made so.
void setScreen(const TestPhone &phone, const wchar_t *key, const wchar_t *value)
{
    REQUIRE(WritePrivateProfileStringW(L"screen", key, value, (phone.folder() + L"\\phone.ini").c_str()));
    REQUIRE(SimUsePhone(phone.folder().c_str()));
}

// A phone of that many dots per inch on which the program has just been started.
struct ScreenOf : TestPhone {
    explicit ScreenOf(const wchar_t *dpi)
    {
        setScreen(*this, L"dpi", dpi);
        restartProgram();
    }
};

struct Scaled {
    int units;
    int pixels;
};

void checkScaling(const std::vector<Scaled> &rows)
{
    for (const Scaled &row : rows) {
        INFO(row.units << " units");
        CHECK(scaleX(row.units) == row.pixels);
        CHECK(scaleY(row.units) == row.pixels);
    }
}

}   // namespace

// ---- Scaling ----------------------------------------------------------------------------------------------------------

TEST_CASE("at 96 dots per inch a unit is a pixel, and negative units are cut towards zero")
{
    ScreenOf phone(L"96");
    checkScaling({{0, 0}, {1, 1}, {3, 3}, {18, 18}, {130, 130}, {10000, 10000}, {-1, 0}, {-2, -1}, {-130, -129}});
}

TEST_CASE("at 192 dots per inch a unit is two pixels")
{
    ScreenOf phone(L"192");
    checkScaling({{0, 0}, {1, 2}, {2, 4}, {3, 6}, {18, 36}, {130, 260}, {10000, 20000}, {-1, -1}, {-130, -259}});
}

TEST_CASE("at 128 dots per inch thirds are rounded to the nearest pixel")
{
    ScreenOf phone(L"128");
    checkScaling(
        {{0, 0}, {1, 1}, {2, 3}, {3, 4}, {4, 5}, {5, 7}, {18, 24}, {130, 173}, {-1, 0}, {-2, -2}, {-130, -172}});
}

TEST_CASE("at 131 dots per inch pixels are rounded to the nearest, a half up")
{
    ScreenOf phone(L"131");
    checkScaling({{0, 0}, {1, 1}, {2, 3}, {3, 4}, {18, 25}, {48, 66}, {130, 177}, {144, 197}, {-1, 0}, {-3, -3}});
}

TEST_CASE("horizontal and vertical resolution are those of the screen")
{
    for (const wchar_t *dpi : {L"96", L"128", L"131", L"192"}) {
        ScreenOf phone(dpi);
        CHECK(horizontalResolution() == _wtol(dpi));
        CHECK(verticalResolution() == _wtol(dpi));
    }
}

// ---- Reading the resolution once ----------------------------------------------------------------------------------------

TEST_CASE("each resolution is read once and kept")
{
    ScreenOf phone(L"192");
    CHECK(horizontalResolution() == 192);
    setScreen(phone, L"dpi", L"96");
    CHECK(horizontalResolution() == 192);
    CHECK(scaleX(10) == 20);
    CHECK(SimOrderFault(L"memory", 0, L"dc:", FALSE));
    CHECK(horizontalResolution() == 192);
    CHECK(scaleX(10) == 20);
}

TEST_CASE("without a device context the resolution is -1, and stays so")
{
    ScreenOf phone(L"192");
    CHECK(SimOrderFault(L"memory", 0, L"dc:", FALSE));
    CHECK(horizontalResolution() == -1);
    CHECK(verticalResolution() == -1);
    SimClearFaults();
    CHECK(horizontalResolution() == -1);
    CHECK(verticalResolution() == -1);
    CHECK(scaleX(0) == 0);
    CHECK(scaleX(47) == 0);     // (-47 + 48) / 96
    CHECK(scaleX(144) == -1);   // (-144 + 48) / 96
    CHECK(scaleY(143) == 0);
    CHECK(scaleY(144) == -1);
}

TEST_CASE("the two resolutions are read and kept apart")
{
    ScreenOf phone(L"192");
    CHECK(SimOrderFault(L"memory", 1, L"dc:", FALSE));
    CHECK(horizontalResolution() == -1);
    CHECK(verticalResolution() == 192);
}

TEST_CASE("no device context is kept after reading the resolution")
{
    ScreenOf phone(L"96");
    scaleX(1);
    scaleY(1);
    const int before = SimLiveGdi();
    for (int i = 0; i < 20; ++i) {
        forgetResolution();
        scaleX(1);
        scaleY(1);
    }
    CHECK(SimLiveGdi() <= before + 2);   // the desktop caches one or two itself
}

// ---- Orientation ------------------------------------------------------------------------------------------------------

TEST_CASE("a screen taller than wide is portrait, one wider than tall landscape, a square one neither")
{
    struct Screen {
        const char *phone;
        int orientation;
    };
    constexpr Screen screens[] = {{"wm6", 1}, {"wm5", 1}, {"ppc2003", 1}, {"vga", 1}, {"landscape", -1}, {"square", 0}};
    for (const Screen &screen : screens) {
        TestPhone phone(screen.phone);
        INFO(std::string(screen.phone));
        CHECK(screenOrientation() == screen.orientation);
    }
}

TEST_CASE("one pixel decides the orientation, and a turned screen is noticed at once")
{
    TestPhone phone;
    struct Screen {
        const wchar_t *width, *height;
        int orientation;
    };
    constexpr Screen screens[] = {{L"240", L"241", 1}, {L"240", L"240", 0}, {L"241", L"240", -1}};
    for (const Screen &screen : screens) {
        setScreen(phone, L"width", screen.width);
        setScreen(phone, L"height", screen.height);
        CHECK(screenOrientation() == screen.orientation);
    }
}
