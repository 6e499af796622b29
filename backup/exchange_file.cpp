#include "exchange_file.h"

#include "environment.h"
#include "text.h"

bool exchangeFilePath(wchar_t (&path)[MAX_PATH])
{
    if (!appPath)
        return false;
    formatText(path, L"%s\\%s", appPath, exchangeFileName);
    return true;
}
