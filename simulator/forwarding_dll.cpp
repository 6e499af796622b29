// commctrl.dll and aygshell.dll have no code: their export lists send every name on to coredll.dll.
