/*
 * The grammar of lists. The reader stops behind the closing parenthesis, without a look at what follows.
 *
 * Lists lean to the left: what stands side by side takes no room on the parser's stack, only what is nested does.
 */
/* Two types of the generated code that have the same name in every parser. */
%code top {
#define yysymbol_kind_t yylistio_symbol_kind
#define yyalloc yylistio_alloc
}

%code requires {
#include "parselib/read_state.h"
}

%code {
#include "parselib/frame_parts.h"

static int yylistiolex(YYLISTIOSTYPE* value, Read_State& read) { return read.scanner.next(value->bone); }
static void yylistioerror(Read_State& read, const char* message) { read.fail(message); }
#define YYMAXDEPTH 1200
}

%define api.pure full
%define api.prefix {yylistio}
%param {Read_State& read}
%expect 0

%union {
  Bone* bone;
  Sequence* sequence;
}

%token LEFT 258 RIGHT 259 OPEN 260 CLOSE 261
%token <bone> ATOM 262 NUMBER 263 STRING 264
%type <bone> list_element
%type <sequence> elements
%destructor { destroy($$); } <bone> <sequence>

%%

list:
  LEFT elements RIGHT { read.sequence = $2; YYACCEPT; }
  /* QUIRK empty-list-is-none: the whole text "()" gives no list, and no report. */
| LEFT RIGHT { YYACCEPT; }
;

/* The kinds of elements stand here one by one, for speed: one step of the parser less for each. */
elements:
  ATOM { $$ = sequence_of($1); }
| NUMBER { $$ = sequence_of($1); }
| STRING { $$ = sequence_of($1); }
| list_element { $$ = sequence_of($1); }
| elements ATOM { $$ = appended($1, $2); }
| elements NUMBER { $$ = appended($1, $2); }
| elements STRING { $$ = appended($1, $2); }
| elements list_element { $$ = appended($1, $2); }
;

list_element:
  LEFT elements RIGHT { $$ = $2; }
| LEFT RIGHT { $$ = Use_Stack_List().make(); }
;
