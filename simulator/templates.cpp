#include "templates.h"
#include "core.h"

#include <cstring>
#include <map>

namespace sim {

namespace {

// Phone-only extended bits: CAPTIONOKBTN, NODRAG, ABOVESTARTUP, INK, NOANIMATION.
constexpr DWORD phoneExStyles = 0x80000000 | 0x40000000 | 0x20000000 | 0x10000000 | 0x04000000;
// DS_NOCLOSEBTN and what the dialog manager of the phone does not know or does differently.
constexpr DWORD droppedDialogStyles = 0x4000 | DS_CENTER | DS_CENTERMOUSE | DS_SYSMODAL | DS_FIXEDSYS | DS_CONTEXTHELP;

struct ClassBits {
    const wchar_t *className;
    DWORD bits;   // styles only the phone's class knows
};
constexpr ClassBits phoneClassStyles[] = {
    {L"msctls_updown32", 0x200 | 0x400},   // UDS_EXPANDABLE, UDS_NOSCROLL
    {L"SysDateTimePick32", 0x80},          // DTS_NONEBUTTON
};

// Bytes readable from address on: to the end of its run of committed pages.
size_t readableBytes(const void *address)
{
    MEMORY_BASIC_INFORMATION region;
    if (VirtualQuery(address, &region, sizeof region) == 0 || region.State != MEM_COMMIT ||
        (region.Protect & (PAGE_NOACCESS | PAGE_GUARD)) != 0) {
        return 0;
    }
    return static_cast<const BYTE *>(region.BaseAddress) + region.RegionSize - static_cast<const BYTE *>(address);
}

// A cursor over the source that never reads past its end; once it would, failed stays set and zeros are returned.
struct Reader {
    const BYTE *start;
    size_t size;
    size_t at = 0;
    bool failed = false;

    const BYTE *take(size_t count)
    {
        if (failed || count > size - at) {
            failed = true;
            return nullptr;
        }
        at += count;
        return start + at - count;
    }
    template <typename T> T number()
    {
        T value = 0;
        if (const BYTE *bytes = take(sizeof value)) {
            memcpy(&value, bytes, sizeof value);
        }
        return value;
    }
    void align() { take((4 - at % 4) % 4); }

    // A zero-terminated text, or 0xFFFF and an ordinal.
    std::vector<WORD> name(bool ordinalAllowed)
    {
        std::vector<WORD> words{number<WORD>()};
        if (ordinalAllowed && words[0] == 0xFFFF) {
            words.push_back(number<WORD>());
            return words;
        }
        while (!failed && words.back() != 0) {
            words.push_back(number<WORD>());
        }
        return words;
    }
};

struct Writer {
    std::vector<BYTE> bytes;

    void append(const void *data, size_t count)
    {
        const BYTE *first = static_cast<const BYTE *>(data);
        bytes.insert(bytes.end(), first, first + count);
    }
    template <typename T> void number(T value) { append(&value, sizeof value); }
    void name(const std::vector<WORD> &words) { append(words.data(), words.size() * sizeof(WORD)); }
    void align() { bytes.resize((bytes.size() + 3) / 4 * 4); }
};

void writeFont(Writer &out, bool extended)
{
    out.number<WORD>(static_cast<WORD>(systemFontPoints()));
    if (extended) {
        out.number<WORD>(FW_NORMAL);
        out.number<BYTE>(FALSE);
        out.number<BYTE>(DEFAULT_CHARSET);
    }
    out.append(systemFontName, sizeof systemFontName);
}

void skipFont(Reader &in, bool extended)
{
    in.take(extended ? 6 : 2);
    in.name(false);
}

const wchar_t *className(const std::vector<WORD> &name)
{
    return name[0] == 0xFFFF ? L"" : reinterpret_cast<const wchar_t *>(name.data());
}

void copyItem(Reader &in, Writer &out, bool extended)
{
    in.align();
    out.align();
    DWORD helpId = extended ? in.number<DWORD>() : 0;
    DWORD first = in.number<DWORD>();
    DWORD second = in.number<DWORD>();
    DWORD style = extended ? second : first;
    DWORD exStyle = desktopExStyle(extended ? first : second);
    const BYTE *placeAndId = in.take(extended ? 12 : 10);
    std::vector<WORD> itemClass = in.name(true);
    std::vector<WORD> text = in.name(true);
    WORD extra = in.number<WORD>();
    const BYTE *extraBytes = in.take(extra);
    if (in.failed) {
        return;
    }
    style = desktopStyle(style, className(itemClass));
    if (extended) {
        out.number(helpId);
        out.number(exStyle);
        out.number(style);
    } else {
        out.number(style);
        out.number(exStyle);
    }
    out.append(placeAndId, extended ? 12 : 10);
    out.name(itemClass);
    out.name(text);
    out.number(extra);
    out.append(extraBytes, extra);
}

// Everything in front of the items; returns their number.
WORD copyHeader(Reader &in, Writer &out, bool extended, PhoneTemplate &result)
{
    DWORD helpId = 0;
    if (extended) {
        in.take(4);
        helpId = in.number<DWORD>();
    }
    DWORD first = in.number<DWORD>();
    DWORD second = in.number<DWORD>();
    DWORD style = extended ? second : first;
    DWORD exStyle = extended ? first : second;
    WORD items = in.number<WORD>();
    const BYTE *place = in.take(8);
    std::vector<WORD> menu = in.name(true);
    std::vector<WORD> dialogClass = in.name(true);
    std::vector<WORD> title = in.name(false);
    if ((style & DS_SETFONT) != 0) {
        skipFont(in, extended);
    }
    if (in.failed) {
        return 0;
    }
    result.okButton = (exStyle & captionOkButton) != 0;
    result.centred = (style & DS_CENTER) != 0;
    style = desktopStyle(style, nullptr) | DS_SETFONT;
    if (extended) {
        out.number<WORD>(1);
        out.number<WORD>(0xFFFF);
        out.number(helpId);
        out.number(desktopExStyle(exStyle));
        out.number(style);
    } else {
        out.number(style);
        out.number(desktopExStyle(exStyle));
    }
    out.number(items);
    out.append(place, 8);
    out.number<WORD>(0);   // the phone's dialogs have no menu
    out.name(dialogClass);
    out.name(title);
    writeFont(out, extended);
    return items;
}

}   // namespace

DWORD desktopStyle(DWORD style, const wchar_t *className)
{
    if (className == nullptr) {
        style &= ~droppedDialogStyles;
    } else {
        for (const ClassBits &row : phoneClassStyles) {
            if (lstrcmpiW(row.className, className) == 0) {
                style &= ~row.bits;
            }
        }
    }
    if ((style & WS_CHILD) == 0) {
        // The two boxes are swapped on the phone and neither shows; an overlapped window would be given a caption.
        style &= ~(WS_MINIMIZEBOX | WS_MAXIMIZEBOX | WS_THICKFRAME);
        style |= WS_POPUP;
    }
    return style;
}

DWORD desktopExStyle(DWORD exStyle)
{
    return exStyle & ~phoneExStyles;
}

PhoneTemplate phoneTemplate(const void *source)
{
    PhoneTemplate result;
    Reader in{static_cast<const BYTE *>(source), source == nullptr ? 0 : readableBytes(source)};
    Writer out;
    if (in.size < sizeof(DLGTEMPLATE)) {
        return result;
    }
    WORD signature[2];
    memcpy(signature, source, sizeof signature);
    const bool extended = signature[0] == 1 && signature[1] == 0xFFFF;
    for (WORD items = copyHeader(in, out, extended, result); items != 0 && !in.failed; --items) {
        copyItem(in, out, extended);
    }
    if (in.failed) {
        return result;
    }
    out.align();
    result.words.resize(out.bytes.size() / sizeof(DWORD));
    memcpy(result.words.data(), out.bytes.data(), out.bytes.size());
    return result;
}

int systemFontPoints()
{
    return px(9);
}

HFONT phoneFont(int pixels, bool bold)
{
    static std::map<std::pair<int, bool>, HFONT> fonts;
    static SRWLOCK lock = SRWLOCK_INIT;
    AcquireSRWLockExclusive(&lock);
    HFONT &font = fonts[{pixels, bold}];
    if (font == nullptr) {
        font = CreateFontW(-pixels, 0, 0, 0, bold ? FW_BOLD : FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                           OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH, systemFontName);
    }
    ReleaseSRWLockExclusive(&lock);
    return font;
}

HFONT systemFont()
{
    return phoneFont(MulDiv(systemFontPoints(), 96, 72), false);
}

}   // namespace sim
