/*
 * The grammar of frames. The reader stops behind the closing bracket, without a look at what follows.
 *
 * Lists lean to the left: what stands side by side takes no room on the parser's stack, only what is nested does.
 */
/* Two types of the generated code that have the same name in every parser. */
%code top {
#define yysymbol_kind_t yyframeio_symbol_kind
#define yyalloc yyframeio_alloc
}

%code requires {
#include "parselib/read_state.h"
}

%code {
#include "parselib/frame_parts.h"

static int yyframeiolex(YYFRAMEIOSTYPE* value, Read_State& read) { return read.scanner.next(value->bone); }
static void yyframeioerror(Read_State& read, const char* message) { read.fail(message); }
#define YYMAXDEPTH 1200
}

%define api.pure full
%define api.prefix {yyframeio}
%param {Read_State& read}
%expect 0

%union {
  Bone* bone;
  Sequence* sequence;
}

%token LEFT 258 RIGHT 259 OPEN 260 CLOSE 261
%token <bone> ATOM 262 NUMBER 263 STRING 264
%type <bone> scalar slot value
%type <sequence> slots values
%destructor { destroy($$); } <bone> <sequence>

%%

frame:
  LEFT content RIGHT { YYACCEPT; }
| OPEN content CLOSE { YYACCEPT; }
;

content:
  ATOM { read.found($1, new_sequence()); }
| ATOM scalar { read.found_single($1, $2); }
| ATOM slots { read.found($1, $2); }
;

scalar: ATOM | NUMBER | STRING;

slots:
  slot { $$ = sequence_of($1); }
| slots slot { $$ = appended($1, $2); }
;

slot:
  LEFT ATOM value RIGHT { $$ = new_slot($2, $3); }
| LEFT ATOM values RIGHT { $$ = new_slot(key_of_list(read.machine, $2), $3); }
| OPEN ATOM CLOSE { $$ = new_frame_slot(read.machine, $2, new_sequence()); }
| OPEN ATOM slots CLOSE { $$ = new_frame_slot(read.machine, $2, $3); }
;

/* Two values or more. */
values:
  value value { $$ = appended(sequence_of($1), $2); }
| values value { $$ = appended($1, $2); }
;

value:
  ATOM { $$ = atom_value(read.machine, $1); }
| NUMBER
| STRING
| LEFT RIGHT { $$ = new_sequence(); }
| LEFT value RIGHT { $$ = sequence_of($2); }
| LEFT values RIGHT { $$ = $2; }
| OPEN ATOM slots CLOSE { $$ = new_frame_value(read.machine, $2, $3); }
;
