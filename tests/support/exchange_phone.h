// A phone for tests of the exchange file: the program is installed, its key is empty, and message boxes are answered at once
// and remembered.
#pragma once

#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "extra_settings.h"
#include "intercept.h"
#include "test_phone.h"
#include "text.h"
#include "user_settings.h"

IMPORTED(MessageBoxW);

constexpr wchar_t exchangeFile[] = L"\\Program Files\\Kelvane\\kv_Export.txt";

struct ShownMessage {
    std::string text;
    std::string caption;
    UINT style;
};

class ExchangePhone : public TestPhone {
public:
    ExchangePhone() : messageBox(answerMessage)
    {
        forgetMessages();
        answer() = IDYES;
        // Loading the add-on record stores nothing of its own while the day is the one it knows.
        SimSetClock(&today);
        extraSettings.ThisDay = today.wDay;
        freeText(appPath);
        appPath = duplicateText(installFolder);
        removeKey(kelvaneKey);
        makeKey(kelvaneKey);
        emptyDump = dumpKey(kelvaneKey);
    }
    ~ExchangePhone()
    {
        freeText(appPath);
        freeUserSettings();
        freeExtraSettings();
        userSettings = UserSettings();
        extraSettings = ExtraSettings();
    }

    // Whether the program's key is as it was at the beginning: there, with nothing in it.
    bool keyIsEmpty() const { return dumpKey(kelvaneKey) == emptyDump; }

    // Message boxes shown so far, and what they are answered with.
    static std::vector<ShownMessage> &shown()
    {
        static std::vector<ShownMessage> all;
        return all;
    }
    static void forgetMessages() { std::vector<ShownMessage>().swap(shown()); }   // and their memory
    static int &answer()
    {
        static int id;
        return id;
    }

    bool showedOnly(const std::string &text, UINT style) const
    {
        return shown().size() == 1 && shown()[0].text == text && shown()[0].caption == "Kelvane" &&
               shown()[0].style == style;
    }

private:
    static constexpr SYSTEMTIME today = {2008, 3, 5, 7, 14, 5, 9, 0};

    static int WINAPI answerMessage(HWND, LPCWSTR text, LPCWSTR caption, UINT style)
    {
        shown().push_back({narrow(text), narrow(caption), style});
        return answer();
    }

    Intercept<__imp_MessageBoxW> messageBox;
    std::string emptyDump;
};

// A subkey of the program's key.
inline std::wstring subkey(const std::wstring &name)
{
    return std::wstring(kelvaneKey) + L"\\" + name;
}

constexpr char exportFinished[] = "Export finished.";
constexpr char importFinished[] = "Import finished. You need to exit Settings before changes will be applied!";
constexpr char importQuestion[] = "Import will overwrite current settings! Do you want to continue?";
constexpr char importFileMissing[] = "Import file not found! kv_Export.txt must be in Kelvane directory.";
