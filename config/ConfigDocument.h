// The configuration file: config.xml and the files the user imports and
// exports, read and written through the MSXML DOM.
#pragma once

#include <windows.h>
#include <msxml2.h>

#include <memory>
#include <string>
#include <vector>

#include "base/Com.h"
#include "config/Configuration.h"

namespace krn {

// Builds one document for a save, or holds one document and its Folder list
// for a load.
class ConfigDocument {
public:
    explicit ConfigDocument(const ActionKindRegistry* registry = nullptr) : registry_(registry) {}
    ConfigDocument(const ConfigDocument&) = delete;
    ConfigDocument& operator=(const ConfigDocument&) = delete;
    virtual ~ConfigDocument() = default;

    bool HasDocument() const { return static_cast<bool>(document_); }

    HRESULT NewDocument();
    HRESULT AddFolder(const FolderEntry& entry);
    // Saves straight over the target; on success the document is released.
    HRESULT SaveToFile(const wchar_t* path);

    HRESULT Load(const wchar_t* path);
    // 0 when an entry was read, 1 when there is no further folder or reading
    // must stop, a negative status on failure.
    HRESULT ReadNextFolder(FolderEntry& entry);
    void Close();

private:
    HRESULT CheckVersion();
    HRESULT AddLimit(IXMLDOMElement* folder, const wchar_t* name, const SizeLimit& limit);
    HRESULT AddActions(IXMLDOMElement* folder, const std::vector<ActionSlot>& actions);
    HRESULT ReadLimit(IXMLDOMElement* folder, const wchar_t* name, std::uint32_t flag, SizeLimit& limit,
                      std::uint32_t& flags);
    void ReadActions(IXMLDOMNode* actions, FolderEntry& entry);

    const ActionKindRegistry* registry_;
    base::com_ptr<IXMLDOMDocument> document_;
    base::com_ptr<IXMLDOMNodeList> folders_;  // declared last: released first
};

// "Value" as plain decimal text that reads back to the same double in every
// locale.
std::wstring FormatLimitValue(double value);
// Leading blanks, then the longest decimal number; 0.0 when there is none.
double ParseLimitValue(const wchar_t* text);

inline constexpr DWORD ERROR_CONFIG_NOT_LOADED = ERROR_FILE_INVALID;  // 1006
inline constexpr DWORD ERROR_CONFIG_NOT_SAVED = ERROR_INTERNAL_ERROR;  // 1359

// Writes the whole list; 0, or 1359. On success the owner clears its modified
// state.
DWORD SaveConfiguration(const wchar_t* path, const FolderEntries& folders, ConfigurationOwner* owner = nullptr);
// Appends the file's folders to `folders`; 0 when the file was opened and its
// version accepted (even if not every folder could be read), else 1006.
DWORD LoadConfiguration(const wchar_t* path, const ActionKindRegistry& registry, FolderEntries& folders,
                        ConfigurationOwner* owner = nullptr);

} // namespace krn
