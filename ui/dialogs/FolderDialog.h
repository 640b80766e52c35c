// "Folder properties": the modal dialog in which the user edits one monitored
// folder (its path, its two size limits and its actions). It works on copies
// and writes the entry back only when OK finds it really changed.
#pragma once

#include "acl/ColorSchemes.h"
#include "acl/ListView.h"
#include "config/FolderEntry.h"
#include "app/DialogBase.h"
#include "app/DialogLook.h"

#include <windows.h>
#include <shellapi.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace krn {

class ActionKindRegistry;

class FolderDialog : public DialogBase, public acl::ColorSchemes<FolderDialog> {
public:
    static constexpr UINT kTemplateId = 201;

    // The kinds are borrowed: they outlive the dialog (the main window owns them).
    explicit FolderDialog(const ActionKindRegistry& kinds);

    // Runs the dialog on `entry` (borrowed). 1 when OK changed the entry, 0
    // when it was left untouched (Cancel, Esc, the close box, or OK with
    // nothing changed), -1 when there is no entry or the dialog could not be
    // created. One run per object: the rows of a run stay until it is gone.
    INT_PTR Run(HWND owner, FolderEntry* entry);

protected:
    std::optional<LRESULT> OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    BOOL OnInitDialog();
    void SetUpLook();
    void SetUpActionList();
    void ShowEntry(const FolderEntry& entry);
    std::optional<LRESULT> OnEraseBackground(HDC dc);
    void OnDropFiles(HDROP drop);
    void OnCommand(UINT id, UINT code);
    void OnNotify(const NMHDR& header);

    void OnOK();
    // Reads the controls into `edited` in the order the user is told about
    // problems; the first problem's message, or null when there is none.
    const wchar_t* ReadControls(FolderEntry& edited) const;
    void Browse();
    void ShowHeaderText();

    void AddAction();
    // The kind chosen from the "&Add..." menu: its index + 1, or 0.
    UINT ChooseKind() const;
    void EditAction();
    void RemoveAction();
    void UpdateEditButton();

    // The rows: each is tagged with the slot it shows, which slots_ owns.
    void AppendRow(std::unique_ptr<ActionSlot> slot);
    void FillRow(int row);
    ActionSlot* SlotOfRow(int64_t row) const;
    bool HoldsKind(const Action* kind) const;
    void ReleaseSlot(const ActionSlot* slot);

    const ActionKindRegistry& kinds_;
    FolderEntry* entry_ = nullptr;
    std::optional<BandBrushes> brushes_;
    acl::ListView actionList_;
    // The slots the rows show, in no particular order; releasing one releases
    // its block through its kind.
    std::vector<std::unique_ptr<ActionSlot>> slots_;
};

} // namespace krn
