#include "message.h"

#include "language.h"

int showMessage(int textId, UINT style)
{
    return showMessage(getLanguageText(textId, nullptr), style);
}

int showMessage(const wchar_t *text, UINT style)
{
    return MessageBoxW(GetActiveWindow(), text, L"Kelvane", style);
}
