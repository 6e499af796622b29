# The device build: programs for Windows CE on ARM, made with Debian's bare-metal ARM compiler. It has never heard of
# Windows CE, so everything a system would bring comes from the files in this folder.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR armv4t)
set(CMAKE_CXX_COMPILER arm-none-eabi-g++)
set(CMAKE_ASM_COMPILER arm-none-eabi-gcc)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)   # nothing links without our own linker script

# ARM state and no instruction younger than ARMv4T: the oldest processors in these phones are StrongARM and ARM920T.
# 16-bit wchar_t, int-sized enumerations and signed char are what the system's own code was compiled with.
set(PHONE_CODE "-march=armv4t -marm -mfloat-abi=soft -fshort-wchar -fno-short-enums -fsigned-char")

# The system headers are mingw-w64's, which take these names to tell what they are compiled for. The phone knows a single
# calling convention, so the desktop's keywords for them vanish.
string(CONCAT PHONE_NAMES
    "-D_WIN32 -DWIN32 -D__MINGW32__ -D_WIN32_WCE=0x420 -DUNDER_CE "
    "-D__stdcall= -D_stdcall= -D__cdecl= -D_cdecl= -D__fastcall= -D__thiscall= "
    "'-D__declspec(x)=__attribute__((x))'")
set(CMAKE_CXX_FLAGS_INIT "${PHONE_CODE} ${PHONE_NAMES} -nostdinc -Wno-attributes")
set(CMAKE_ASM_FLAGS_INIT "-march=armv4t -marm")
