#pragma once

// Random calculation documents for tests and benchmarks.

#include <random>

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

}  // namespace loadcal::testsupport
