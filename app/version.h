// The program's version, as shown, stored and logged.
#pragma once

constexpr wchar_t programVersion[] = L"1.60.2 (#160)";
