#include "option_file.h"

#include "environment.h"
#include "log.h"
#include "text.h"
#include "whole_file.h"

OptionFlags optionFlags = {};

// In the order in which they are looked up. "clearalarmonaction" is kept as another name of the switch "email2ismms": in
// this program the two have always been one.
const OptionRow optionRows[optionCount] = {
    {"vibratesetting", OptionKind::vibration, &OptionFlags::vibrateSetting, false},
    {"missedcallfilter", OptionKind::off, &OptionFlags::missedCallFilterOff, true},
    {"memoryaspercent", OptionKind::on, &OptionFlags::memoryAsPercent, true},
    {"dataasmb", OptionKind::on, &OptionFlags::dataAsMb, true},
    {"profilechangenotify", OptionKind::number, &OptionFlags::profileChangeNotify, false},
    {"i730led", OptionKind::on, &OptionFlags::i730Led, true},
    {"hidezeroitemcount", OptionKind::on, &OptionFlags::hideZeroItemCount, true},
    {"trinitywlanfix", OptionKind::on, &OptionFlags::trinityWlanFix, false},
    {"wlanviadriver", OptionKind::on, &OptionFlags::wlanViaDriver, false},
    {"alwaysentersim", OptionKind::on, &OptionFlags::alwaysEnterSim, true},
    {"vibrateonconnectfix", OptionKind::on, &OptionFlags::vibrateOnConnectFix, false},
    {"disablesinglebacklight", OptionKind::on, &OptionFlags::disableSingleBacklight, false},
    {"speakerphonefix", OptionKind::on, &OptionFlags::speakerphoneFix, false},
    {"systemnotifypowerdown", OptionKind::on, &OptionFlags::systemNotifyPowerDown, true},
    {"alarmoneveryevent", OptionKind::on, &OptionFlags::alarmOnEveryEvent, true},
    {"email2ismms", OptionKind::on, &OptionFlags::email2IsMms, true},
    {"othersmsclient", OptionKind::on, &OptionFlags::otherSmsClient, true},
    {"signalalarmdelay", OptionKind::delay, &OptionFlags::signalAlarmDelay, false},
    {"clearalarmonaction", OptionKind::on, &OptionFlags::email2IsMms, true},
    {"clearmissedcallsmsonvoice", OptionKind::on, &OptionFlags::clearMissedCallSmsOnVoice, true},
    {"hideunreaditems", OptionKind::number, &OptionFlags::hideUnreadItems, true},
    {"usedatabaseforcustomsms", OptionKind::on, &OptionFlags::useDatabaseForCustomSms, true},
    {"hideprofilealarmrepeats", OptionKind::on, &OptionFlags::hideProfileAlarmRepeats, true},
    {"usefastgraphics", OptionKind::on, &OptionFlags::useFastGraphics, true},
};

namespace {

constexpr int longestDelay = 1000;
constexpr DWORD defaultDelay = 20;

struct VibrationWord {
    const char *word;
    DWORD setting;
};

constexpr VibrationWord vibrationWords[] = {{"1short", 1}, {"3short", 3}, {"1long", 4}, {"2long", 5}};

void setVibration(DWORD &flag, const char *value)
{
    for (const VibrationWord &row : vibrationWords)
        if (strstr(value, row.word)) {
            flag = row.setting;
            return;
        }
}

void setFlag(const OptionRow &row, const char *value)
{
    DWORD &flag = optionFlags.*row.flag;
    const int number = atoi(value);
    switch (row.kind) {
    case OptionKind::vibration:
        setVibration(flag, value);
        break;
    case OptionKind::off:
        if (number == 0)
            flag = 1;
        break;
    case OptionKind::on:
        if (number == 1)
            flag = 1;
        break;
    case OptionKind::number:
        flag = static_cast<DWORD>(number);
        break;
    case OptionKind::delay:
        flag = number >= 0 && number <= longestDelay ? static_cast<DWORD>(number) : defaultDelay;
        break;
    }
}

// A key is known by the line break in front of it, so the first line never holds one; a last line without line feed
// does not count. The equals sign is looked for beyond the key's own line, too. All this is kept, so that the files users
// have go on meaning the same here; it is safe, for the search never leaves the text.
void applyRow(const OptionRow &row, char *text)
{
    char key[40];
    formatText(key, "\r\n%s", row.key);
    char *value = strstr(text, key);
    if (value)
        value = strchr(value, '=');
    char *end = value ? strchr(value, '\n') : nullptr;
    if (!end)
        return;
    *end = 0;
    setFlag(row, value + 1);
    *end = '\n';
}

void lowerCase(char *text)
{
    for (; *text; ++text)
        if (*text >= 'A' && *text <= 'Z')
            *text += 'a' - 'A';
}

void resetFlags()
{
    for (const OptionRow &row : optionRows)
        if (row.reset)
            optionFlags.*row.flag = 0;
}

void readOptionFile(const wchar_t *path)
{
    WholeFile file;
    if (!file.read(path))
        return;
    char *text = static_cast<char *>(file.content());
    lowerCase(text);
    for (const OptionRow &row : optionRows)
        applyRow(row, text);
}

}   // namespace

bool optionFilePath(wchar_t (&path)[optionPathCapacity])
{
    if (appPath)
        formatText(path, L"%s\\%s", appPath, optionFileName);
    return appPath != nullptr;
}

void getUserConfigSettings()
{
    wchar_t path[optionPathCapacity];
    if (!optionFilePath(path))
        return;
    try {
        resetFlags();
        readOptionFile(path);
    } catch (...) {
        writeLog("** Exception getUserConfigSettings **");
    }
}
