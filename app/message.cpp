#include "message.h"

#include "language.h"

int showMessage(int textId, UINT style)
{
    return MessageBoxW(GetActiveWindow(), getLanguageText(textId, nullptr), L"Kelvane", style);
}
