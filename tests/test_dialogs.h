// Identifiers of the tests' own dialogs. Plain macros: the resource compiler reads this too.
#pragma once

#define IDD_TEST_LIST_PAGE 9001

// Controls that no list page may hide.
#define IDC_TEST_SELECTOR 1253
#define IDC_TEST_DESCRIPTION 1287
