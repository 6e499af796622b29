#include "scaling.h"

namespace {

constexpr int notReadYet = 0;

int cachedHorizontal = notReadYet;
int cachedVertical = notReadYet;

int readResolution(int capability)
{
    const HDC screen = GetDC(nullptr);
    if (!screen)
        return -1;
    const int dotsPerInch = GetDeviceCaps(screen, capability);
    ReleaseDC(nullptr, screen);
    return dotsPerInch;
}

int resolution(int &cached, int capability)
{
    if (cached == notReadYet)
        cached = readResolution(capability);
    return cached;
}

int scale(int n, int dotsPerInch)
{
    return (n * dotsPerInch + 48) / 96;
}

}   // namespace

int horizontalResolution()
{
    return resolution(cachedHorizontal, LOGPIXELSX);
}

int verticalResolution()
{
    return resolution(cachedVertical, LOGPIXELSY);
}

int scaleX(int n)
{
    return scale(n, horizontalResolution());
}

int scaleY(int n)
{
    return scale(n, verticalResolution());
}

int screenOrientation()
{
    const int width = GetSystemMetrics(SM_CXSCREEN);
    const int height = GetSystemMetrics(SM_CYSCREEN);
    return (height > width) - (height < width);
}

void forgetResolution()
{
    cachedHorizontal = cachedVertical = notReadYet;
}
