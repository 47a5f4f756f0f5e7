// LpReader: reads LP files. lp_read.cpp has the words and sums and the order of sections, lp_read_sections.cpp what
// stands in each.
#pragma once

#include "io/lp_lexer.h"
#include "io/problem.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tso::io {

// A number in spite of its letters.
bool is_infinity(std::string_view word);

class LpReader {
public:
    LpReader(const Env& env, const std::string& path, Compression compression) : env_(env), lex_(path, compression) {}

    std::unique_ptr<Model> read();

private:
    enum class Section : unsigned char {
        None,
        Minimize,
        Maximize,
        Rows,
        Bounds,
        General,
        Binary,
        Semi,
        SemiInteger,
        Sos,
        Sos1,
        Sos2,
        End
    };

    // A sum of terms: linear ones by column without repetition, a constant, quadratic ones as they stand.
    struct Sum {
        std::vector<int> col;
        std::vector<double> value;
        std::vector<QuadTerm> quadratic;
        double constant = 0;
        bool any = false; // something was read, be it a zero
        bool has_columns() const { return !col.empty() || !quadratic.empty(); }
        void clear() {
            col.clear();
            value.clear();
            quadratic.clear();
            constant = 0;
            any = false;
        }
    };

    // Where a sum stands: the right-hand side ends with its line, since the next row may have no name in front; all
    // others go on over lines.
    enum class Side : unsigned char { Open, Right };

    struct SectionWord;
    static constexpr int kSectionWordCount = 37;
    static const SectionWord kSectionWords[kSectionWordCount];
    Section section_of(const Token& word, const Token& next) const;
    Section section_here() const { return section_of(lex_.current(), lex_.next()); }
    bool keyword_in_sum(bool after_number, Side side) const;
    Section enter_section();

    void objective();
    void rows();
    void bounds();
    void types(unsigned char flag);
    void sets(int type);
    void finish_types();

    void sum(Sum& s, Side side);
    void term(Sum& s, double sign, Side side);
    void quadratic(Sum& s, double factor);
    void add_linear(Sum& s, int col, double value);
    void add_constant(Sum& s, double value);
    std::string label();
    void row();
    void indicator(const std::string& name, const Sum& condition, double value, int64_t line);
    bool is_last_row(std::string_view name, const Sum& body) const;
    void add_row(std::string_view name, Sum& body, double lower, double upper, int64_t line);
    double bound_value();
    void set_bound(int col, Tok sense, double value);
    int column(std::string_view word);
    void check_name(std::string_view word, int64_t line) const;
    double checked(double value, const char* what, int64_t line) const;

    const Env& env_;
    LpLexer lex_;
    Problem problem_;
    Section section_ = Section::None;
    Sum left_, middle_, right_;
    std::vector<size_t> place_; // of each column: where in the sum that is being read it may stand
    enum : unsigned char {
        kGeneral = 1,
        kBinary = 2,
        kSemi = 4,
        kSemiInteger = 8,
        kLowerGiven = 16,
        kUpperGiven = 32,
    };
    std::vector<unsigned char> flags_;
    std::string negative_upper_; // the first warning of its kind, and how many
    int64_t negative_uppers_ = 0;
};

} // namespace tso::io
