// The text format of a phone's database volumes, the files of its stores folder: see "Databases" in README.md.
#pragma once

#include "core.h"

#include "../ce/property_layouts.h"

namespace sim {

struct StoredProperty {
    CEPROPID id;
    CEVALUNION value;          // a text's and a blob's pointers are not set
    std::wstring text;         // of a text
    std::vector<BYTE> bytes;   // of a blob
};

struct StoredRecord {
    CEOID oid;
    std::vector<StoredProperty> properties;
};

struct SortOrder {
    CEPROPID property;
    bool descending;
};

struct StoredDatabase {
    std::wstring name;
    CEOID oid;
    std::vector<SortOrder> sortOrders;
    std::vector<StoredRecord> records;
};

struct StoredVolume {
    bool isNewKind = false;   // of Windows Mobile 5 and later: CeMountDBVolEx mounts it, CeMountDBVol does not
    std::vector<StoredDatabase> databases;
};

// Parses the text of a whole file. Returns 0, or the number of the first line it does not understand.
int parseVolumeText(const std::wstring &text, StoredVolume &volume);

}   // namespace sim
