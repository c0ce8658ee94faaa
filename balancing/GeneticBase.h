#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "balancing/Random.h"

namespace loadcal {

/// A genetic search that maximises Fitness over units that are byte strings.
/// It knows nothing of what the bytes mean: a unit is read as a string of
/// 2-bit symbols, four to a byte, the most significant pair first, and every
/// operator works on whole symbols. A derived class supplies Fitness (larger
/// is better) and may replace the unit operators.
///
/// One search: SetUnitScale sizes the population and restarts the random
/// generator from the seed; the first Evolve creates the population
/// (CreateUnit, Fitness); each Evolve then runs one generation. A generation
/// has a fixed effort of Fitness evaluations (symbols^2 / 333, at least 120
/// and at most 1500; the pairs an exchange can pick grow with the square of
/// the length) shared between two lines of work:
///  - breeding: a child of two parents chosen by binary tournaments is made
///    by IntercrossUnits (or ArithmeticIntercrossUnits), MutateUnit and
///    sometimes NonconformingMutateUnit, improved by the local step for
///    depth x symbols + 50 evaluations (carried over generations), and then
///    replaces the worst unit when it is not worse and not a duplicate;
///  - refinement: the local step improves the fittest unit in place,
///    accepting only changes that do not lower its fitness.
/// Breeding gets an eighth of the effort while refinement is improving and
/// three quarters once refinement has gone depth x symbols evaluations
/// without improvement. The fittest unit is never replaced by a worse one,
/// so FittestSolution never gets worse during a search (elitism).
///
/// The local step tries moves of a few symbols: a change of one symbol, an
/// exchange of two, a rotation of three with different values, two exchanges
/// at once. In the first generation, every 100 generations after and whenever
/// breeding brings a new fittest unit, it probes each symbol of the fittest unit with the other
/// three values: symbols whose change never alters the fitness are left alone afterwards, and the
/// others are ranked by the worst fitness a change produces, so that most exchanges pair symbols of
/// similar weight. Moves the refinement rejects are remembered with the fitness they produced (up
/// to 1024; once full, a new move replaces the remembered one nearest in fitness); a new rejected
/// move is joined with one of the four remembered moves whose fitness is closest and the pair is
/// tried as one move (two moves that spoil the fitness alike often cancel out), and rejected pairs
/// are remembered in turn. The remembered moves stay when a joined move is accepted and are
/// forgotten when the fittest unit is probed or replaced.
///
/// Parameters (SetParameterEx): 0 the probability that MutateUnit changes a
/// symbol, 1 the probability that a child is made by ArithmeticIntercrossUnits
/// instead of IntercrossUnits, 2 the probability that a child also gets
/// NonconformingMutateUnit. The third SetUnitScale value is the depth above.
///
/// Deterministic: the same seed, scale, parameters and Fitness give the same
/// units on every machine. Evolve allocates nothing; SetUnitScale allocates
/// everything a search needs. Not thread-safe; not copyable.
class CGeneticBase {
public:
    static constexpr std::uint64_t kDefaultSeed = 0x4C6F616443616C31ull;
    static constexpr int kParameterCount = 3;

    CGeneticBase();
    CGeneticBase(const CGeneticBase&) = delete;
    CGeneticBase& operator=(const CGeneticBase&) = delete;

    /// Starts a search over population units of unitBytes bytes with the
    /// given local-step depth. Throws std::invalid_argument when population is
    /// below 1 or unitBytes or depth is negative. A unit of zero bytes is
    /// allowed and never changes.
    void SetUnitScale(int population, int unitBytes, int depth);

    /// Sets the first min(count, 3) parameters (see the class comment); the
    /// others keep their values. Defaults: 0.005, 0.05, 0.05.
    void SetParameterEx(const double* values, int count);

    /// Parameter i as set (0 .. 2).
    double Parameter(int i) const;

    /// The seed the next SetUnitScale starts the random generator from;
    /// kDefaultSeed until set.
    void SetSeed(std::uint64_t seed) { m_nSeed = seed; }

    /// Runs one generation (creating the population first when needed).
    void Evolve();

    /// The bytes of the fittest unit (owned by the engine; the next Evolve may
    /// change them, SetUnitScale ends them); creates the population when no
    /// generation has run yet. When index is not null it receives the unit's place in the
    /// population.
    const unsigned char* FittestSolution(int* index);

    virtual ~CGeneticBase();

    /// Fills a new unit: random bytes.
    virtual void CreateUnit(void* unit);
    /// Uniform crossover: each symbol is exchanged between the two units with
    /// probability 1/2.
    virtual void IntercrossUnits(void* first, void* second);
    /// Arithmetic crossover: each pair of symbols (a, b) becomes their mean
    /// rounded down in the first unit and rounded up in the second.
    virtual void ArithmeticIntercrossUnits(void* first, void* second);
    /// Changes each symbol with probability parameter 0 to one of the other
    /// three values.
    virtual void MutateUnit(void* unit);
    /// A burst that does not follow the per-symbol rate: every symbol of one
    /// byte is drawn anew.
    virtual void NonconformingMutateUnit(void* unit);
    /// The score of one unit; larger is better.
    virtual double Fitness(const void* unit) const = 0;

private:
    static constexpr int kMaxMoveSymbols = 8;

    /// A change of a few symbols, with the fitness it produced when tried.
    struct Move {
        int count = 0;
        int position[kMaxMoveSymbols] = {};
        unsigned char from[kMaxMoveSymbols] = {};
        unsigned char to[kMaxMoveSymbols] = {};
        double fitness = 0.0;
    };

    unsigned char* Unit(int k)
    {
        return m_arrPopulation.data() +
               static_cast<std::size_t>(k) * static_cast<std::size_t>(m_nUnitBytes);
    }
    double Evaluate(const unsigned char* unit);
    void EnsurePopulation();
    int Tournament();
    void Breed(long long budget);
    void StartChild();
    void InsertChild();
    void Refine(long long budget);
    void Probe();
    void Improve(unsigned char* unit, double& fitness, long long budget, bool remember);
    bool DrawMove(const unsigned char* unit, Move& move);
    int AnySymbol();
    int Neighbour(int rank);
    void PickPair(int& i, int& j);
    bool Joinable(const unsigned char* unit, const Move& a, const Move& b) const;
    int FindPartner(const unsigned char* unit, const Move& move, double fitness) const;
    int LowerBound(double fitness) const;
    void Remember(const Move& move);
    void Forget() { m_nMoves = 0; }

    // scale and parameters
    int m_nPopulation = 0;
    int m_nUnitBytes = 0;
    int m_nSymbols = 0;
    int m_nDepth = 0;
    double m_arrParameter[kParameterCount] = {0.005, 0.05, 0.05};
    std::uint64_t m_nSeed = kDefaultSeed;
    CRandom m_random;

    // population
    std::vector<unsigned char> m_arrPopulation;
    std::vector<double> m_arrFitness;
    int m_nBest = 0;
    bool m_bStarted = false;
    long long m_nEvaluations = 0;
    long long m_nGeneration = 0;

    // breeding line
    std::vector<unsigned char> m_arrChild;
    std::vector<unsigned char> m_arrMate;
    double m_dChildFitness = 0.0;
    long long m_nChildBudget = 0;

    // refinement line
    long long m_nSinceImprovement = 0;
    long long m_nNextProbe = 0;
    std::vector<int> m_arrRanked;  ///< symbols that matter, weakest first
    std::vector<double> m_arrWeight;
    int m_nRanked = 0;

    // remembered rejected moves, and their indices sorted by fitness
    std::vector<Move> m_arrMoves;
    std::vector<int> m_arrMovesByFitness;
    int m_nMoves = 0;
};

}  // namespace loadcal
