#pragma once

#include <tao/pegtl.hpp>

#include "engine/derived/expression/functions.h"

// The language of expressions, from the operands to the loosest operator.
//
// Each rule knows by its first token whether it is meant, so nothing longer is ever tried twice. A
// text fails where there is no operand, or where what has been opened does not end, and nowhere
// else: with an exception, which names the place.
namespace zervane::grammar {

namespace pegtl = tao::pegtl;

struct Conditional;

struct Blanks : pegtl::star<pegtl::space> {};

template <char... kCharacters>
struct Symbol : pegtl::seq<pegtl::string<kCharacters...>, Blanks> {};

// What nests: in it the depth is one more.
struct Deeper : pegtl::success {};
struct Shallower : pegtl::success {};
template <typename... Rules>
struct Nested : pegtl::seq<Deeper, Rules..., Shallower> {};

struct Digits : pegtl::plus<pegtl::digit> {};
struct Fraction : pegtl::seq<pegtl::one<'.'>, pegtl::star<pegtl::digit>> {};
struct Mantissa
    : pegtl::sor<pegtl::seq<Digits, pegtl::opt<Fraction>>, pegtl::seq<pegtl::one<'.'>, Digits>> {};
struct Exponent : pegtl::seq<pegtl::one<'e', 'E'>, pegtl::opt<pegtl::one<'+', '-'>>, Digits> {};
struct Number : pegtl::seq<Mantissa, pegtl::opt<Exponent>> {};

// A quote within a name is doubled.
struct Quote : pegtl::one<'\''> {};
struct TagName : pegtl::star<pegtl::sor<pegtl::two<'\''>, pegtl::not_one<'\''>>> {};
struct Tag : pegtl::seq<Quote, TagName, Quote> {};
struct EndlessTag : Quote {};

struct CallBegin : pegtl::seq<pegtl::identifier, Symbol<'('>> {};
struct ArgumentEnd : pegtl::success {};
struct Argument : pegtl::seq<Conditional, ArgumentEnd> {};
struct Arguments : pegtl::list<Argument, Symbol<','>> {};
struct CallEnd : pegtl::one<')'> {};
struct Call : pegtl::seq<CallBegin, Nested<Arguments, pegtl::must<CallEnd>>> {};

struct BracketEnd : pegtl::one<')'> {};
struct Bracketed : pegtl::seq<Symbol<'('>, Nested<Conditional, pegtl::must<BracketEnd>>> {};

struct Word : pegtl::identifier {};

struct Operand : pegtl::seq<pegtl::sor<Number, Bracketed, Call, Word, Tag, EndlessTag>, Blanks> {};

// An operator between two operands, without the left one.
template <BinaryFunction kFunction, typename Operator, typename Right>
struct With : pegtl::seq<Operator, Right> {};

// Signs are looser than powers, -2^2 is -4; but a power's exponent may have one, 2^-1 is 0.5.
struct Signed;
using Raised = With<Power, Symbol<'^'>, Nested<Signed>>;
struct Powered : pegtl::seq<pegtl::must<Operand>, pegtl::opt<Raised>> {};
struct Plus : pegtl::seq<Symbol<'+'>, Nested<Signed>> {};
struct Minus : pegtl::seq<Symbol<'-'>, Nested<Signed>> {};
struct Signed : pegtl::sor<Plus, Minus, Powered> {};

struct Product : pegtl::seq<Signed, pegtl::star<pegtl::sor<With<Multiply, Symbol<'*'>, Signed>,
                                                           With<Divide, Symbol<'/'>, Signed>>>> {};

struct Sum : pegtl::seq<Product, pegtl::star<pegtl::sor<With<Add, Symbol<'+'>, Product>,
                                                        With<Subtract, Symbol<'-'>, Product>>>> {};

struct Comparison
    : pegtl::seq<
          Sum, pegtl::star<pegtl::sor<
                   With<Equal, Symbol<'=', '='>, Sum>, With<NotEqual, Symbol<'!', '='>, Sum>,
                   With<LessOrEqual, Symbol<'<', '='>, Sum>, With<Less, Symbol<'<'>, Sum>,
                   With<GreaterOrEqual, Symbol<'>', '='>, Sum>, With<Greater, Symbol<'>'>, Sum>>>> {
};

struct Conjunction : pegtl::seq<Comparison, pegtl::star<With<And, Symbol<'&', '&'>, Comparison>>> {
};

struct Disjunction : pegtl::seq<Conjunction, pegtl::star<With<Or, Symbol<'|', '|'>, Conjunction>>> {
};

struct Colon : Symbol<':'> {};
struct Choice : pegtl::seq<Symbol<'?'>, Nested<Conditional, pegtl::must<Colon>, Conditional>> {};
struct Conditional : pegtl::seq<Disjunction, pegtl::opt<Choice>> {};

struct Expression : pegtl::seq<Blanks, Conditional, pegtl::must<pegtl::eof>> {};

}  // namespace zervane::grammar
