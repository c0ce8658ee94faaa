#pragma once

#include <string>

#include "document/InterDpData.h"
#include "model/Document.h"
#include "model/Records.h"

namespace loadcal {

/// Puts the two record arrays into a store, rebuilding it from nothing: the
/// tree is emptied, then every field of every load circuit is set at
/// 负荷信息\<i>\<key> and every field of every transformer at
/// 变压器信息\<i>\<key> (keys in ArchiveKeys.h), each as its whole text (NUL
/// characters included) with the count Utf16Length(text) + 1 and flags 0. A
/// circuit's fields beyond the original thirteen follow its thirteen, each
/// only when not empty. An empty array leaves no node for its table.
/// Statuses of the store are not examined.
void StoreRecords(CInterDpData& store, const CLoadArray& loads,
                  const CTransformerArray& transformers);

/// Rebuilds the two record arrays from a store (null: both arrays empty).
/// Rows are read by position: children "0" up to the table's signed 16-bit
/// child count less one (a negative count reads none), whatever the children
/// are actually named. Missing keys take the reading defaults of
/// ArchiveKeys.h (a missing circuit number takes the row name; a missing
/// field beyond the thirteen is empty); a load row is always appended, a
/// transformer row without its name key is skipped.
/// Nothing is recalculated.
void LoadRecords(const CInterDpData* store, CLoadArray& loads, CTransformerArray& transformers);

/// Puts a whole document into a store, rebuilding it from nothing: the two
/// tables as StoreRecords puts them, then the document's further groups,
/// which the original program's reader skips: the boards under 配电箱信息
/// (laid out as the two tables, only when there are boards) and the rule
/// set's name under 计算规则 (only when it is not the original rules). A
/// document that uses nothing beyond the two tables gives exactly
/// StoreRecords' tree.
void StoreDocument(CInterDpData& store, const CLoadCalDocument& doc);

/// Rebuilds a whole document from a store (null: the empty document): the
/// two tables as LoadRecords reads them, then the further groups, whose
/// absence leaves their defaults (no boards, the original rules). Board rows
/// are read by position as the two tables; a row without its name key is
/// skipped and other missing keys take a new board's texts. A rule-set name
/// the program does not know is a DocumentError saying so (without the
/// file's name, which the caller adds); doc is then left as it was.
void RestoreDocument(const CInterDpData* store, CLoadCalDocument& doc);

/// The bytes of the archive file of a document, exactly those that
/// StoreDocument followed by CInterDpData::Serialize give, without building
/// the tree (tables of at most kIdpMaxChildren rows).
std::string EncodeArchive(const CLoadCalDocument& doc);

/// Writes a document as an archive file (replacing it atomically). Throws
/// DocumentError naming the file and the cause when it cannot be written, or
/// when a table (circuits, transformers, boards) has more than 32,767 rows (kIdpMaxChildren: a
/// reader would get fewer back), in which case nothing is written.
void SaveArchiveFile(const std::wstring& path, const CLoadCalDocument& doc);

/// Reads an archive file into a document. Throws DocumentError naming the
/// file and the problem when it is missing, unreadable or damaged in any way,
/// or names a rule set the program does not know (the document is then left
/// as it was).
void LoadArchiveFile(const std::wstring& path, CLoadCalDocument& doc);

}  // namespace loadcal
