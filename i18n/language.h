// Every text the user sees, by its identifier, in the language the user has chosen.
#pragma once

#include "phone.h"

// Identifiers run from 0 to 529. With a control, sets its text and returns null. Without, returns the text; one that
// comes from a language file stays valid only until the next call. An identifier out of range yields the empty text and
// leaves the control as it was. For the user-interface thread only.
const wchar_t *getLanguageText(int id, HWND control);

// Characters of a text from a language file, the terminator included; two more than any text fills.
constexpr size_t translationCapacity = 261;

// Fills buffer with the file's text for id in the current language; empty when there is none, for whatever reason.
void readLanguageFile(wchar_t (&buffer)[translationCapacity], int id);

// One control of a dialog and the text it carries; a dialog's labels are a table of these.
struct ControlText {
    int control;
    int text;
};

template <size_t count> void setControlTexts(HWND dialog, const ControlText (&rows)[count])
{
    for (const ControlText &row : rows)
        getLanguageText(row.text, GetDlgItem(dialog, row.control));
}
