// The system's file dialogs of the simulated phone.
#include "commdlg.h"
#include "doctest.h"
#include "modal_dialog.h"
#include "test_phone.h"

namespace {

struct Asked {
    BOOL chosen;
    std::wstring path;
    WORD nameAt, extensionAt;
};

Asked ask(BOOL(WINAPI *dialog)(OPENFILENAMEW *), DWORD flags = 0, DWORD capacity = 260, DWORD size = openFileRecordSize)
{
    wchar_t path[260] = L"before";
    OPENFILENAMEW record = {};
    record.lStructSize = size;
    record.lpstrFile = path;
    record.nMaxFile = capacity;
    record.Flags = flags;
    const BOOL chosen = dialog(&record);
    return {chosen, path, record.nFileOffset, record.nFileExtension};
}

constexpr DWORD pathMustExist = 0x800, fileMustExist = 0x1000;

}   // namespace

TEST_CASE("the file dialogs answer what phone.ini says")
{
    TestPhone phone;
    phone.set(L"file-dialog", L"answer", L"\\Temp\\some.file.txt");
    for (const auto dialog : {GetOpenFileNameW, GetSaveFileNameW}) {
        const Asked asked = ask(dialog);
        CHECK(asked.chosen);
        CHECK(asked.path == L"\\Temp\\some.file.txt");
        CHECK(asked.nameAt == 6);
        CHECK(asked.extensionAt == 16);
    }
    phone.set(L"file-dialog", L"answer", L"\\Temp");
    CHECK(ask(GetOpenFileNameW).extensionAt == 0);
}

TEST_CASE("an empty answer is a user who cancels")
{
    TestPhone phone;
    phone.set(L"file-dialog", L"answer", L"");
    const Asked asked = ask(GetOpenFileNameW);
    CHECK_FALSE(asked.chosen);
    CHECK(asked.path == L"before");
    CHECK(phone.journal("file-dialog") == std::vector<std::string>{"file-dialog open  0x0  cancelled"});
}

TEST_CASE("what has to exist has to exist")
{
    TestPhone phone;
    phone.writeFile(L"\\Temp\\there.txt", "");
    struct Row {
        const wchar_t *answer;
        DWORD flags;
        bool chosen;
    };
    for (const Row &row :
         {Row{L"\\Temp\\there.txt", pathMustExist | fileMustExist, true},
          Row{L"\\Temp\\gone.txt", fileMustExist, false}, Row{L"\\Temp\\gone.txt", pathMustExist, true},
          Row{L"\\Gone\\gone.txt", pathMustExist, false}, Row{L"\\gone.txt", pathMustExist, true},
          Row{L"\\Gone\\gone.txt", 0, true}}) {
        phone.set(L"file-dialog", L"answer", row.answer);
        INFO(narrow(row.answer) << " with " << row.flags);
        CHECK((ask(GetOpenFileNameW, row.flags).chosen != FALSE) == row.chosen);
    }
}

TEST_CASE("a path that does not fit is not given, and a record of another size is refused")
{
    TestPhone phone;
    phone.set(L"file-dialog", L"answer", L"\\Temp");
    CHECK(ask(GetOpenFileNameW, 0, 6).chosen);
    CHECK_FALSE(ask(GetOpenFileNameW, 0, 5).chosen);
    CHECK_FALSE(ask(GetOpenFileNameW, 0, 0).chosen);
    CHECK_FALSE(ask(GetOpenFileNameW, 0, 260, 88).chosen);
    CHECK_FALSE(GetOpenFileNameW(nullptr));
}

TEST_CASE("without an answer the desktop's dialog asks, in the phone's root")
{
    constexpr UINT setControlTextMessage = WM_USER + 104;   // CDM_SETCONTROLTEXT
    constexpr WPARAM nameField = 0x47C;                     // cmb13
    TestPhone phone;
    phone.writeFile(L"\\a.txt", "");
    Asked asked = {};
    CHECK(runModal([&] { asked = ask(GetOpenFileNameW, pathMustExist | fileMustExist); },
                   [](HWND dialog) { SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0); }));
    CHECK_FALSE(asked.chosen);
    CHECK(runModal([&] { asked = ask(GetOpenFileNameW, pathMustExist | fileMustExist); },
                   [](HWND dialog) {
                       SendMessageW(dialog, setControlTextMessage, nameField, reinterpret_cast<LPARAM>(L"a.txt"));
                       SendMessageW(dialog, WM_COMMAND, IDOK, 0);
                   }));
    CHECK(asked.chosen);
    CHECK(asked.path == L"\\a.txt");
    CHECK(phone.journal("file-dialog") ==
          std::vector<std::string>{"file-dialog open  0x1800  cancelled", "file-dialog open  0x1800  \\a.txt"});
}
