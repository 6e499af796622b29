"""The stand-in phone, second part: windows, as far as it takes to run the program from its start to its end.

Nothing is drawn. Windows are handles that get the messages a phone would send while the Options dialog is opened, each page
is shown and the sheet is closed with OK; controls remember what they are told.
"""

import struct

from emulator import Fault, Wide
from phone_services import Services

WM_CREATE, WM_DESTROY, WM_SIZE, WM_PAINT, WM_SETTINGCHANGE = 0x01, 0x02, 0x05, 0x0F, 0x1A
WM_SETTEXT, WM_GETTEXT, WM_NOTIFY, WM_HELP, WM_INITDIALOG, WM_COMMAND = 0x0C, 0x0D, 0x4E, 0x53, 0x110, 0x111
WM_CTLCOLORDLG = 0x136
BM_GETCHECK, BM_SETCHECK = 0xF0, 0xF1
CB_ADDSTRING, CB_GETCURSEL, CB_SELECTSTRING, CB_SETCURSEL = 0x143, 0x147, 0x14D, 0x14E
CB_GETCOUNT, CB_GETLBTEXT, CB_RESETCONTENT = 0x146, 0x148, 0x14B
PSM_GETTABCONTROL, PSM_GETCURRENTPAGEHWND = 0x474, 0x476
PSCB_INITIALIZED, PSCB_GETVERSION = 1, 3
PSN_SETACTIVE, PSN_KILLACTIVE, PSN_APPLY = -200 & 0xFFFFFFFF, -201 & 0xFFFFFFFF, -202 & 0xFFFFFFFF
RT_DIALOG = 5
GWL_WNDPROC = -4
DESKTOP = 0x100
SYSTEM_CLASSES = ("static", "combobox")

# Functions of which only the answer matters here.
ANSWERS = {
    "BeginPaint": 0x201, "CreateFontIndirectW": 0x202, "CreatePen": 0x203, "CreateSolidBrush": 0x204,
    "DeleteObject": 1, "DestroyIcon": 1, "DispatchMessageW": 0, "DrawFocusRect": 1, "DrawTextW": 12, "EnableWindow": 0,
    "EndPaint": 1, "FillRect": 1, "GetDlgCtrlID": 0, "GetFocus": 0, "GetForegroundWindow": DESKTOP, "GetMessageW": 0,
    "GetModuleHandleW": 0x10000, "GetParent": 0, "GetProcAddressW": 0, "GetScrollInfo": 1, "GetStockObject": 0x205,
    "GetWindow": 0, "InitCommonControls": 0, "InitCommonControlsEx": 1, "InvalidateRect": 1, "LoadCursorW": 0x209,
    "LoadIconW": 0x206, "LoadImageW": 0x207, "MoveWindow": 1, "Polyline": 1, "PostQuitMessage": 0,
    "SelectObject": 0x208, "SetBkColor": 0, "SetBkMode": 1, "SetCursor": 0, "SetDlgItemTextW": 1, "SetFocus": 0,
    "SetForegroundWindow": 1, "SetTextColor": 0, "SetWindowPos": 1, "ShellExecuteEx": 0, "ShowWindow": 1,
    "TranslateMessage": 0, "UpdateWindow": 1,
}


class Window:
    def __init__(self, procedure=0, identifier=0):
        self.procedure, self.identifier = procedure, identifier
        self.controls, self.values = {}, {}
        self.text, self.entries, self.selected, self.checked = "", [], -1, 0
        self.ended = False


class Phone(Services):
    """The whole stand-in phone. seen: what the program has done with windows, in order."""

    def __init__(self, phones, base="wm6"):
        super().__init__(phones, base)
        self.windows = {DESKTOP: Window()}
        self.classes = {}
        self.device_contexts = 0
        self.seen = []

    def __getattr__(self, name):
        if name in ANSWERS:
            return lambda: ANSWERS[name]
        raise AttributeError(name)

    def add_window(self, *arguments):
        handle = self.new_handle("window")
        self.windows[handle] = Window(*arguments)
        return handle

    def send(self, handle, message, wparam=0, lparam=0):
        window = self.windows.get(handle)
        return self.machine.call(window.procedure, handle, message, wparam, lparam) if window and window.procedure else 0

    def notify(self, page, sheet, code):
        block = self.heap.allocate(16)
        self.machine.write_words(block, sheet, 0, code, 0)
        result = self.send(page, WM_NOTIFY, 0, block)
        self.heap.release(block)
        return result

    # ---- Classes and windows ---------------------------------------------------------------------------------------------

    def RegisterClassW(self, record):
        words = struct.unpack("<10I", self.machine.read(record, 40))
        if words[8]:
            raise Fault("a class with a menu: a phone has none")
        name = self.machine.wide(words[9])
        self.seen.append(f"class {name}")
        self.classes[name] = words[1]
        return 0xC000 + len(self.classes)

    def CreateWindowExW(self, extended, class_name: Wide, title: Wide, style, x, y, width, height, parent, menu, instance,
                        parameter):
        if class_name.lower() in SYSTEM_CLASSES:
            return self._create_control(title, parent, menu)
        if class_name not in self.classes:
            raise Fault(f"there is no window class '{class_name}'")
        self.seen.append(f"window {title}")
        handle = self.add_window(self.classes[class_name])
        self.send(handle, WM_CREATE)
        return handle

    def _create_control(self, title, parent, identifier):
        handle = self.add_window(0, identifier)
        self.windows[handle].text = title
        if parent:
            self.windows[parent].controls[identifier] = handle
        return handle

    def DestroyWindow(self, handle):
        self.send(handle, WM_DESTROY)
        del self.windows[handle]
        for window in self.windows.values():
            window.controls = {name: control for name, control in window.controls.items() if control != handle}
        return 1

    def DefWindowProcW(self, handle, message, wparam, lparam):
        if message == WM_SETTEXT:
            self.windows[handle].text = self.machine.wide(lparam)
            return 1
        return 0

    def GetWindowTextW(self, handle, buffer, capacity):
        text = self.windows[handle].text[:capacity - 1]
        self.machine.write_wide(buffer, text)
        return len(text)

    def EnumWindows(self, function, parameter):
        for handle in list(self.windows):
            if handle != DESKTOP and not self.machine.call(function, handle, parameter):
                return 0
        return 1

    def GetClassNameW(self, window, buffer, capacity):
        self.machine.write_wide(buffer, "Other")
        return 5

    def SendMessageTimeout(self, window, message, wparam, lparam, flags, milliseconds, result):
        if message == WM_GETTEXT:
            self.machine.write_wide(lparam, "")
        self.machine.write_words(result, 0)
        return 1

    def _rectangle(self, result, left, top, right, bottom):
        self.machine.write_words(result, left, top, right, bottom)
        return 1

    def GetClientRect(self, window, result):
        return self._rectangle(result, 0, 0, self.GetSystemMetrics(0), self.GetSystemMetrics(1) - 52)

    def GetWindowRect(self, window, result):
        return self._rectangle(result, 0, 26, self.GetSystemMetrics(0), self.GetSystemMetrics(1) - 26)

    def GetDC(self, window):
        if self.fault_due("memory", "dc:"):
            return 0
        self.device_contexts += 1
        return 0x201

    def ReleaseDC(self, window, context):
        self.device_contexts -= 1
        return 1

    def GetDeviceCaps(self, context, index):
        return self.settings.number("screen", "dpi", 96) if index in (88, 90) else 0

    def GetObjectW(self, drawing_object, size, result):
        if size != 92:
            raise Fault(f"a font's record has 92 bytes, not {size}")
        self.machine.write(result, struct.pack("<5i8B", -12, 0, 0, 0, 400, *bytes(8)) + "Tahoma".encode("utf-16-le").ljust(64, b"\0"))
        return size

    def GetWindowLongW(self, window, index: int):
        known = self.windows[window]
        return known.procedure if index == GWL_WNDPROC else known.values.get(index, 0)

    def SetWindowLongW(self, window, index: int, value):
        known = self.windows[window]
        old = self.GetWindowLongW(window, index)
        if index == GWL_WNDPROC:
            known.procedure = value
        else:
            known.values[index] = value
        return old

    def CallWindowProcW(self, procedure, window, message, wparam, lparam):
        if not procedure:
            return self.DefWindowProcW(window, message, wparam, lparam)
        return self.machine.call(procedure, window, message, wparam, lparam)

    # ---- Messages and controls ---------------------------------------------------------------------------------------------

    def PostMessageW(self, window, message, wparam, lparam):
        self.seen.append(f"posted {message:#x} {wparam} {lparam}")
        return 1

    def SendMessageW(self, window, message, wparam, lparam):
        known = self.windows.get(window)
        if not known:
            return 0
        if known.procedure:
            return self.send(window, message, wparam, lparam)
        if message == WM_SETTEXT:
            return self.DefWindowProcW(window, message, wparam, lparam)
        elif message == PSM_GETTABCONTROL:
            return self.GetDlgItem(window, 0x3020)
        elif message == CB_ADDSTRING:
            known.entries.append(self.machine.wide(lparam))
            return len(known.entries) - 1
        elif message == CB_RESETCONTENT:
            known.entries, known.selected = [], -1
        elif message == CB_GETCOUNT:
            return len(known.entries)
        elif message == CB_GETLBTEXT and wparam < len(known.entries):
            self.machine.write_wide(lparam, known.entries[wparam])
        elif message in (CB_SETCURSEL, CB_SELECTSTRING):
            wanted = wparam if message == CB_SETCURSEL else self._first_entry(known, self.machine.wide(lparam))
            known.selected = wanted if 0 <= wanted < len(known.entries) else -1
            return known.selected
        elif message == CB_GETCURSEL:
            return known.selected
        elif message == BM_SETCHECK:
            known.checked = wparam
        elif message == BM_GETCHECK:
            return known.checked
        return 0

    def _first_entry(self, control, text):
        fitting = (index for index, entry in enumerate(control.entries) if entry.lower().startswith(text.lower()))
        return next(fitting, -1)

    def GetDlgItem(self, dialog, identifier):
        """Every control that is asked for is there."""
        controls = self.windows[dialog].controls
        if identifier not in controls:
            controls[identifier] = self.add_window(0, identifier)
        return controls[identifier]

    def SendDlgItemMessageW(self, dialog, identifier, message, wparam, lparam):
        return self.SendMessageW(self.GetDlgItem(dialog, identifier), message, wparam, lparam)

    def GetDlgItemTextW(self, dialog, identifier, buffer, capacity):
        control = self.windows[self.GetDlgItem(dialog, identifier)]
        text = control.entries[control.selected] if control.selected >= 0 else control.text
        self.machine.write_wide(buffer, text[:capacity - 1])
        return min(len(text), capacity - 1)

    def SetDlgItemTextW(self, dialog, identifier, text: Wide):
        self.windows[self.GetDlgItem(dialog, identifier)].text = text
        return 1

    # ---- Resources -------------------------------------------------------------------------------------------------------

    def _identifier(self, value):
        return value if value < 0x10000 else self.machine.wide(value)

    def FindResourceW(self, module, name, kind):
        if module != self.machine.base:
            raise Fault("FindResourceW needs the program's own module on a phone")
        found = self.machine.image.find_resource(self._identifier(kind), self._identifier(name))
        return module + found if found else 0

    def LoadResource(self, module, resource):
        return module + self.machine.word(resource)

    # ---- Dialogs and the sheet -------------------------------------------------------------------------------------------

    def DialogBoxIndirectParamW(self, instance, template, parent, procedure, parameter):
        style, = struct.unpack("<I", self.machine.read(template, 4))
        self.seen.append(f"dialog {style:#x}")
        handle = self.add_window(procedure)
        self.send(handle, WM_INITDIALOG, 0, parameter)
        if not self.windows[handle].ended:
            raise Fault("a dialog waits for the user, and nobody is there")
        self.send(handle, WM_DESTROY)
        return self.windows[handle].ended

    def EndDialog(self, dialog, result: int):
        self.windows[dialog].ended = result or True
        return 1

    def PropertySheetW(self, header):
        size, flags, _, _, _, _, count, _, pages, callback = struct.unpack("<10I", self.machine.read(header, 40))
        if size != 40 or not flags & 8:
            raise Fault(f"the property sheet's record has size {size} and flags {flags:#x}")
        sheet = self.add_window()
        if self.machine.call(callback, 0, PSCB_GETVERSION, 0) != 0x020C:
            raise Fault("the sheet does not ask for the phone's look")
        self.machine.call(callback, sheet, PSCB_INITIALIZED, 0)
        windows = [self._open_page(sheet, pages + 40 * index) for index in range(count)]
        for page in windows:
            self.notify(page, sheet, PSN_APPLY)
        for page in windows:
            self.send(page, WM_DESTROY)
        return 1

    def _open_page(self, sheet, record):
        size, _, instance, template, _, title, procedure, _, _, _ = struct.unpack("<10I", self.machine.read(record, 40))
        if size != 40 or not self.machine.image.find_resource(RT_DIALOG, template):
            raise Fault(f"a page's record has size {size} and template {template}")
        self.seen.append(f"page {self.machine.wide(title)}")
        page = self.add_window(procedure)
        self.send(page, WM_INITDIALOG, 0, record)
        self.notify(page, sheet, PSN_SETACTIVE)
        for message in (WM_SIZE, WM_CTLCOLORDLG, WM_PAINT, WM_HELP):
            self.send(page, message)
        self.notify(page, sheet, PSN_KILLACTIVE)
        return page

    # ---- The shell -------------------------------------------------------------------------------------------------------

    def _sized(self, record, size, what):
        if self.machine.word(record) != size:
            raise Fault(f"{what} has {size} bytes on a phone, not {self.machine.word(record)}")
        return 1

    def SHInitDialog(self, record):
        mask, dialog, flags = struct.unpack("<3I", self.machine.read(record, 12))
        self.seen.append(f"shell dialog {flags:#x}")
        return int(mask == 1 and dialog in self.windows)

    def SHCreateMenuBar(self, record):
        return self._sized(record, 36, "SHMENUBARINFO")

    def SHSipInfo(self, action, number, record, notify):
        self._sized(record, 48, "SIPINFO")
        self.machine.write_words(record + 4, 0)
        return self._rectangle(record + 8, 0, 26, self.GetSystemMetrics(0), self.GetSystemMetrics(1))
