#pragma once

#include <tao/pegtl.hpp>

// The languages of alarm tests and of actions.
//
// Each rule knows by its first word whether it is meant, so nothing longer is ever tried twice, and
// none contains itself: a text of any length is read once, from its begin to its end. It fails
// where something must follow that does not, and nowhere else: with an exception, which names the
// place.
namespace zervane::alarm_grammar {

namespace pegtl = tao::pegtl;

struct Blanks : pegtl::star<pegtl::space> {};

// A word in any case. It ends where no letter, digit or underscore goes on; what only begins like
// it is not touched, so that an error is told where the word begins.
struct WordEnd : pegtl::not_at<pegtl::identifier_other> {};
template <char... kLetters>
struct Word : pegtl::seq<pegtl::at<pegtl::istring<kLetters...>, WordEnd>,
                         pegtl::istring<kLetters...>, Blanks> {};

template <char... kCharacters>
struct Symbol : pegtl::seq<pegtl::string<kCharacters...>, Blanks> {};

struct Digits : pegtl::plus<pegtl::digit> {};
struct Fraction : pegtl::seq<pegtl::one<'.'>, pegtl::star<pegtl::digit>> {};
struct Mantissa
    : pegtl::sor<pegtl::seq<Digits, pegtl::opt<Fraction>>, pegtl::seq<pegtl::one<'.'>, Digits>> {};
struct Sign : pegtl::one<'+', '-'> {};
struct Exponent : pegtl::seq<pegtl::one<'e', 'E'>, pegtl::opt<Sign>, Digits> {};
struct Decimal : pegtl::seq<pegtl::opt<Sign>, Mantissa, pegtl::opt<Exponent>> {};
// What is written on behind a number's digits is no part of it: no second point, no word.
struct NumberEnd : pegtl::not_at<pegtl::sor<pegtl::identifier_other, pegtl::one<'.'>>> {};

// ---- tests ----

struct LoLo : Word<'L', 'O', 'L', 'O'> {};
struct Low : Word<'L', 'O', 'W'> {};
struct High : Word<'H', 'I', 'G', 'H'> {};
struct HiHi : Word<'H', 'I', 'H', 'I'> {};
// Between this word and a number there must be a space, whatever the number begins with.
struct NoNumber : pegtl::not_at<pegtl::one<'.', '+', '-'>> {};
struct ChangeWord : pegtl::istring<'C', 'H', 'A', 'N', 'G', 'E'> {};
struct Change
    : pegtl::seq<pegtl::at<ChangeWord, WordEnd>, ChangeWord, pegtl::must<NoNumber>, Blanks> {};

struct Greater : Symbol<'>'> {};
struct GreaterOrEqual : Symbol<'>', '='> {};
struct Less : Symbol<'<'> {};
struct LessOrEqual : Symbol<'<', '='> {};
struct Equal : Symbol<'='> {};
struct NotEqual : Symbol<'<', '>'> {};
struct Comparison : pegtl::sor<NotEqual, LessOrEqual, GreaterOrEqual, Less, Greater, Equal> {};

struct LimitNumber : Decimal {};
struct Limit : pegtl::seq<LimitNumber, pegtl::must<NumberEnd>, Blanks> {};
struct LeastNumber : Decimal {};
struct Least : pegtl::seq<LeastNumber, pegtl::must<NumberEnd>, Blanks> {};

struct PriorityDigit : pegtl::range<'1', '4'> {};
struct PriorityNumber : pegtl::seq<PriorityDigit, pegtl::must<NumberEnd>, Blanks> {};
struct TextEnd : pegtl::eof {};
struct Priority : pegtl::seq<Word<'P', 'R', 'I', 'O', 'R', 'I', 'T', 'Y'>,
                             pegtl::must<PriorityNumber, TextEnd>> {};

// What may follow; which of the ends it is says what was expected there.
struct LimitEnd : pegtl::eof {};
struct ChangeEnd : pegtl::eof {};
template <typename End>
struct PriorityOr : pegtl::sor<Priority, pegtl::must<End>> {};

struct LimitTest : pegtl::seq<pegtl::sor<LoLo, Low, High, HiHi>, pegtl::must<Comparison, Limit>,
                              PriorityOr<LimitEnd>> {};
struct ChangeTest
    : pegtl::seq<Change,
                 pegtl::sor<pegtl::seq<Least, PriorityOr<LimitEnd>>, PriorityOr<ChangeEnd>>> {};
struct AnyTest : pegtl::sor<LimitTest, ChangeTest> {};
struct Test : pegtl::seq<Blanks, pegtl::must<AnyTest>> {};

// ---- actions ----

// A quote within a name is doubled.
struct Quote : pegtl::one<'\''> {};
struct Target : pegtl::plus<pegtl::sor<pegtl::two<'\''>, pegtl::not_one<'\''>>> {};
struct TargetBegin : Quote {};
struct TargetEnd : pegtl::seq<Quote, Blanks> {};

struct SetNumber : Decimal {};
struct SetValue : pegtl::seq<SetNumber, pegtl::must<NumberEnd>, Blanks> {};
struct Set : Word<'S', 'E', 'T'> {};
struct Action
    : pegtl::seq<Blanks, pegtl::must<Set, TargetBegin, Target, TargetEnd, SetValue, TextEnd>> {};

}  // namespace zervane::alarm_grammar
