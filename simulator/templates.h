// Dialog templates as the phone reads them: every dialog in the system font, style bits in their phone meaning.
#pragma once

#include <vector>
#include <windows.h>

namespace sim {

// A template rewritten for the desktop's dialog manager, and what its phone-only bits asked for.
struct PhoneTemplate {
    std::vector<DWORD> words;   // DWORD-aligned storage; empty when the source was no valid template
    bool okButton = false;      // WS_EX_CAPTIONOKBTN
    bool centred = false;       // DS_CENTER: the phone centres on its own screen, not on the desktop's

    bool valid() const { return !words.empty(); }
    LPCDLGTEMPLATEW get() const { return reinterpret_cast<LPCDLGTEMPLATEW>(words.data()); }
};

// Reads a DLGTEMPLATE or DLGTEMPLATEEX within the memory it lies in and rewrites it.
PhoneTemplate phoneTemplate(const void *source);

// Style bits with a meaning of their own on the phone, taken out for the desktop. className may be null (a dialog).
DWORD desktopStyle(DWORD style, const wchar_t *className);
DWORD desktopExStyle(DWORD exStyle);

constexpr DWORD captionOkButton = 0x80000000;   // WS_EX_CAPTIONOKBTN

// The phone's system font is Tahoma 9 point; the desktop counts 96 dots per inch, so the size grows with the phone's.
constexpr wchar_t systemFontName[] = L"Tahoma";
int systemFontPoints();

// A font of the phone's face, pixels high in the em; kept for the life of the process.
HFONT phoneFont(int pixels, bool bold);
HFONT systemFont();

}   // namespace sim
