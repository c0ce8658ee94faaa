#pragma once

// Random calculation documents for tests and benchmarks.

#include <random>

#include "model/Document.h"
#include "model/Records.h"

namespace loadcal::testsupport {

struct RandomDocumentOptions {
    int circuits = 200;
    int transformers = 5;
    /// Share of circuits with quirky owners ("T1,T2", other letter case,
    /// empty, unknown names) and quirky phases (lower case, blank, empty).
    double quirkShare = 0.1;
};

void MakeRandomDocument(std::mt19937& rng, const RandomDocumentOptions& opt, CLoadArray& loads,
                        CTransformerArray& transformers);

struct RandomBoardOptions {
    int circuits = 300;
    int transformers = 4;
    int boards = 40;
    int levels = 4;  ///< boards of level 1 hang from transformers, of level k from level k-1
    /// Share of quirks: dual-fed boards and circuits, owners in another
    /// letter case, owners naming nothing, empty owners, single-phase and
    /// odd board phases, circuits straight on a transformer.
    double quirkShare = 0.1;
    CalcRules rules = CalcRules::Original;
    /// The boards listed in random order rather than level by level.
    bool shuffle = true;
    /// Share of circuits given a fire role ("消防" or "火灾时切除", half
    /// each) and share given a load class (one of the four, or an odd
    /// text now and then). No random number is drawn for a share of 0, so
    /// documents without them stay as they were for a seed.
    double fireShare = 0;
    double classShare = 0;
};

/// A document with a tree of boards (no cycles): board "AP<i>" of level k
/// names one or two boards of level k-1 (level 1: transformers), circuits
/// name boards of any level or transformers. Nothing is calculated.
void MakeRandomBoardDocument(std::mt19937& rng, const RandomBoardOptions& opt,
                             CLoadCalDocument& doc);

/// The largest document the board benchmarks take: 32,767 circuits (the
/// most an archive's reader counts) under 2,000 boards in six levels and 100
/// transformers, nothing calculated; fireShare and classShare as in
/// RandomBoardOptions.
void MakeLargestBoardDocument(CLoadCalDocument& doc, double fireShare = 0, double classShare = 0);

}  // namespace loadcal::testsupport
