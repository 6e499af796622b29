#include "system_font.h"

#ifdef UNDER_CE
static_assert(sizeof(LOGFONTW) == 92);
#endif

LOGFONTW systemFontRecord()
{
    LOGFONTW record = {};
    GetObjectW(GetStockObject(SYSTEM_FONT), sizeof record, &record);
    return record;
}

HFONT createSystemFont(LONG height, LONG weight, bool underlined)
{
    LOGFONTW record = systemFontRecord();
    record.lfHeight = height;
    record.lfWeight = weight;
    record.lfUnderline = underlined;
    return CreateFontIndirectW(&record);
}
