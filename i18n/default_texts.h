// The program's English texts, addressed by text identifier.
#pragma once

// Number of text identifiers; valid ones are 0 to textCount - 1.
constexpr int textCount = 530;

// What every identifier without a text stands for: one shared empty string.
extern const wchar_t emptyText[];

// English text of each identifier. No row is null; a row without a text points at emptyText.
extern const wchar_t *const defaultTexts[textCount];
