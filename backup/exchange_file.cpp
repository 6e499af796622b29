#include "exchange_file.h"

#include "environment.h"
#include "text.h"

bool exchangeFilePath(wchar_t (&path)[exchangePathCapacity])
{
    if (!appPath)
        return false;
    formatText(path, L"%s\\%s", appPath, exchangeFileName);
    return true;
}
