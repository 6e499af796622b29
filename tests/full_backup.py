"""A phone's settings for tests: every value of every record, as a person may have left them, and the other files of a backup.

Texts of the phone's code page stand here as Python text; `export_text` makes the exchange file's bytes of them.
"""

PROGRAM_KEY = r"Software\Tessaryn\Kelvane"


def numbers(text):
    """{name: number} of "name=number" pairs."""
    return {name: int(number) for name, _, number in (pair.partition("=") for pair in text.split())}


GENERAL_NUMBERS = numbers("""
    autoColor=1 fontColor=12632256 autoAlarmColor=0 alarmColor=255 autoScrollColor=1 scrollColor=65280 AutoTextSize=0
    textSize=10 AutoScrollSize=1 scrollSize=9 lang=0 SMS=1 MMS=1 Email=1 emailClient=0 emailAccounts=1 emailCustomAlarms=1
    emailDefaultFolder=1 missedCalls=1 reminders=1 voiceMail=1 voiceMailPrompt=1 voiceMailPhoneApp=0 soundRepeat=10
    soundRepeatOff=6 soundRepeatTone=1 soundDelay=60 soundDelayOff=2 batteryLife=15 batteryAlarm=1 lowBatteryOff=4
    lowBatteryLevel=20 signalAlarm=1 lowSignalOff=1 lowSignalLevel=15 vibrateOnMute=1 alwaysVibrate=0 shutdownDelay=45
    startupDelay=10 activeProfiles=127 noBacklight=0 autoAnswer=0 callAlarm=1 acousticPress=0 vibConnect=1 blankOnDial=0
    systemVibrate=1 defaultSIP=0 skinsInStorage=0 quietMode=0 noBroker=0 loggingOption=0 alarmState=0 activeSyncProfile=-1
    ACPowerProfile=2 outlookCheck=0 profAsText=1 sysVoiceAlert=0 skinTextColor=16777215 skinAlarmColor=255
    skinScrollColor=16776960
""")

GENERAL_TEXTS = {
    "skinName": "Blue",
    "signalSound": "alarm1.wav",
    "batterySound": "alarm2.wav",
    "emailCustomAccounts": "ActiveSync;Private;B\u00fcro;",
    "profile1": "Zuhause",
    "profile2": "B\u00fcro",
    "profile3": "Besprechung",
    "profile4": "Nacht",
    "profile5": "Laut",
    "profile6": "Auto",
    "profile7": "Flug",
    "sysPhoneName": "Example Phone 600",
    "voicemail2": "+4915550100",
    "Version": "1.60.2 (#160)",
}

ADDON_NUMBERS = numbers("""
    billActive=1 monthlyLog=1 smsCost=19 smsCostIn=0 smsCount=12 smsFolderCount=40 smsFree=9999999 smsNextReset=15
    monthlyFixCost=995 monthlyCredit=500 minBillUnit=60 mmsCount=2 mmsFolderCount=3 mmsCost=39 gprsIn=1048576 gprsOut=65536
    gprsInDaily=2048 gprsOutDaily=1024 ThisDay=7 peakActive=1 peakStart=480 peakEnd=1080 peakDays=31 freeTotal=6000
    freeIntern=600 freePeak=1200 freeOffpeak=1800 voiceCost=29 offPeakCost=9 peakCost=49 incomingCost=0 minCost=1 fixCost=5
    dailyCostLimit=-1 monthlyCostLimit=5000 GPRSTraffic=1 GPRSMonCost=1000 GPRSCostKB=3 GPRSCostOffKB=2 GPRSMonVol=204800
    GPRSDayLimit=10240 GPRSMonLimit=307200 GPRSPacketSize=10 cleanupLog=30 logCostData=1 rotatorText=8159 rotatorType=1
    rotatorFreq=5 rotatorSpeed=3 standbyHours=36 callHours=4 disableLED=0 gprsOnEmail=1 smsSendNotify=1 smsRecieveNotify=0
    GPRS=1 GPRS_Disc=1 GPRS_Time=120 GPRS_Auto=1 GPRS_No=3 GPRS_AutoOff=22 VoiceCommand=1 locationService=1 locRIL=1
    locRILDll=0 locSIM=1 locCB=1 KillCBPopup=1 locWLAN=0 locGPS=0 locPort=4 locRange=200 locWakeToCheck=1 locWakeEvery=30
    locWakeFor=20 locWakeWhen=1 locWakeStart=480 locWakeEnd=1320 quickMute=1 quickMuteKey=193 quickMuteTime=30
    oneClickAlarm=1 forwardingActive=0 forwardFix=1
""")

ADDON_TEXTS = {
    "forwardCall": "Mutter\u00a7+4915550101",
    "forwardCall2": "Mailbox\u00a73311",
    "forwardCall3": "",
    "forwardCall4": "",
    "forwardPrefix": "**21*",
    "forwardSuffix": "#",
    "forwardEnd": "##21#",
    "smsForwardExcept": "3311",
    "smsForwardExcept2": "2020=x, 7",
}

LIST_TEXTS = {
    "timeData": "1,12345,07:30\u00a70,12345,17:00\u00a73,1234567,23:00\u00a7",
    "costData": "0800,0.00\u00a70900,1.99\u00a7",
    "emailGroups": "Freunde,1\u00a7B\u00fcro,2\u00a7",
    "defaultAccount": "ActiveSync",
    "backupPath": "\\Storage Card\\Backup",
}

# The engine's window as it was on the phone: nothing on a desktop has this handle.
ENGINE_NUMBERS = {"appWindow": 0x7C0A1E30}

ALARM_SOUNDS = (4, 5, 6, 7, 8, 36, 39)
REPEATS = (30, 31, 32, 33, 37, 40)
PROFILE_NUMBERS = numbers("""
    0=60 1=80 2=80 3=60 9=5 10=0 11=1 12=2 13=0 14=40 16=30 17=120 19=300 20=0 21=90 22=1 23=0 24=2 27=1 28=15 29=2 34=1
    35=0 41=2
""")
PROFILE_TEXTS = {"15": "\\Windows\\calendar.exe", "18": "2468", "25": "Mutter\u00a7+4915550101", "26": "Off",
                 "38": "Home.net", "42": "Freunde", "43": "B\u00fcro"}


def profile_values(profile):
    """{name: number or text} of a profile."""
    values = dict(PROFILE_NUMBERS, **PROFILE_TEXTS)
    values["16"] = 10 * (profile + 1)
    for sound in ALARM_SOUNDS:
        values.update({f"{sound}": "ring1.wav" if sound == 8 else f"alarm{1 + profile % 2}.wav",
                       f"{sound}_1": 1, f"{sound}_11": profile % 2, f"{sound}_111": 1})
    for repeat in REPEATS:
        values.update({f"{repeat}": 2 + profile, f"{repeat}_1": 1})
    return values


def all_values():
    """{key below the current user: {name: number or text}}"""
    main = dict(GENERAL_NUMBERS, **GENERAL_TEXTS, **ADDON_NUMBERS, **ADDON_TEXTS, **LIST_TEXTS, **ENGINE_NUMBERS)
    keys = {PROGRAM_KEY: main}
    for profile in range(7):
        keys[rf"{PROGRAM_KEY}\{profile}"] = profile_values(profile)
    return keys


def value_line(name, value):
    return f"{name}=4,{value}\r\n" if isinstance(value, int) else f"{name}=1,{value}\r\n"


def export_text(keys):
    """The exchange file's bytes: values by name, as a registry that sorts them enumerates them."""
    sections = []
    for key in sorted(keys, key=str.lower):
        lines = "".join(value_line(name, keys[key][name]) for name in sorted(keys[key], key=str.lower))
        sections.append(f"{key}\r\n\r\n{lines}")
    return ("\r\n".join(sections) + "\r\n").encode("cp1252")


def parse_export(content):
    """{key: {name: "type,data"}} of an export whose keys all have values."""
    keys = {}
    blocks = content.decode("cp1252").split("\r\n\r\n")
    assert blocks[-1] == "" and len(blocks) % 2 == 1, "not an export"
    for header, body in zip(blocks[::2], blocks[1::2]):
        keys[header] = dict(line.split("=", 1) for line in body.split("\r\n"))
    return keys


OTHER_FILES = {
    "kv_Location.dat": "Zuhause\u00a72F1A,262,07\u00a7\r\nB\u00fcro\u00a72F1B,262,07\u00a7\r\n".encode("cp1252"),
    "Kelvane_User.cfg": b"; advanced options\r\nMemoryAsPercent=1\r\nSignalAlarmDelay=30\r\n",
    "Home.net": b"[Connections]\r\nWork=GPRS\r\n",
    "Office.NET": b"[Connections]\r\nWork=WLAN\r\n",
    "office.network": b"\0\1\2\xff",
}


def registry_text(keys, head="Windows Registry Editor Version 5.00\n"):
    """The same as a registry.reg."""
    lines = [head]
    for key, values in keys.items():
        lines.append(f"\n[HKEY_CURRENT_USER\\{key}]")
        for name, value in values.items():
            escaped = str(value).replace("\\", "\\\\").replace('"', '\\"')
            lines.append(f'"{name}"=dword:{value & 0xFFFFFFFF:08x}' if isinstance(value, int) else f'"{name}"="{escaped}"')
    return "\n".join(lines) + "\n"
