/*
 * Frames and lists: a small text format for settings, its readers, and the objects that it is read into. C++
 * only. docs/frame_format.md describes the text.
 *
 * The readers throw nothing of their own. What is wrong with a text is reported on standard output, as
 * "Parselib : line 3 - parse error", unless the input stream is at its end by then: the readers take blocks of
 * up to 8,192 bytes, so a short text is silent. When memory is short a reader ends the process with a line on
 * standard error. An object belongs to one thread at a time; reads of different streams do not touch each other.
 */
#ifndef KELVANE_FRAMES_H
#define KELVANE_FRAMES_H

#include <kelvane/association.h>
#include <kelvane/number.h>
#include <kelvane/stream.h>

inline namespace kelvane {

/* What the operations of a Slot_Machine answer for a token. */
enum Frame_Token { KV_NUMBER_TOKEN = 263, KV_STRING_TOKEN = 264 };

/*
 * Makes the objects that a text is read into. A program may derive a machine of its own; the order of the
 * virtual functions is part of the interface. integer, real and string are called as the token is met, atom,
 * frame and list when what they stand for is complete. What they return belongs to the reader and later to the
 * one who gets the result: one object must not be given twice. A text that is handed over may be changed, and is
 * gone after the call.
 */
class KV_EXPORT Slot_Machine : public Bone {
 public:
  ~Slot_Machine() override;

  /* The object of a token, and which token it is for the grammar; string gets the text between the quotes. */
  virtual int integer(Bone*& out_value, char* text) const = 0;
  virtual int real(Bone*& out_value, char* text) const = 0;
  virtual int string(Bone*& out_value, char* text) const = 0;

  /* The value that an atom stands for; the atom is the machine's from now on. */
  virtual Bone* atom(clAtom& atom) const = 0;

  /* A nested frame. The name stays the reader's, who makes it the key of a frame slot and destroys that of a frame
   * that is a mere value; the slots are the machine's. */
  virtual Bone* frame(clAtom& name, Sequence& slots) const = 0;

  /*
   * Called for a slot of several values.
   * QUIRK list-gets-the-name: the argument is the slot's name, a clAtom, under the type of a sequence. The result
   * becomes the slot's key, so it must be a clAtom, too. No function of the argument may be called.
   */
  virtual Bone* list(Sequence& list) const = 0;
};

/*
 * The usual machine: Integer (what strtol reads, cut to 32 bits), Real (the nearest double, whatever the
 * locale), clString with a copy of the text, the atom itself, a Frame under a copy of the name, the list itself.
 */
class KV_EXPORT One_Arm_Bandit : public Slot_Machine {
 public:
  ~One_Arm_Bandit() override;

  int integer(Bone*& out_value, char* text) const override;
  int real(Bone*& out_value, char* text) const override;
  int string(Bone*& out_value, char* text) const override;
  Bone* atom(clAtom& atom) const override;
  Bone* frame(clAtom& name, Sequence& slots) const override;
  Bone* list(Sequence& list) const override;
};

/*
 * Reads one frame and nothing behind it (what was read ahead is lost). Returns its slots, associations in the
 * order of the text, perhaps none of them, and its name; the caller owns the sequence, its elements and the
 * name. Returns null, and a null name, for a text that is no frame, after
 *
 *   Parselib Error: read_frame failed.
 *   Please confirm that your env variable KVREGISTRY points to a correct registry file.
 *
 * on standard output, which is left out at the end of the stream. A null stream reports
 * "Parselib Error: stream for read_frame not good." and the second line. Nesting that needs more than 1,200
 * places of the parser reports "parser stack overflow" only.
 */
KV_EXPORT Sequence* read_frame(kvistream& in, const Slot_Machine& machine, clAtom*& out_name);

/*
 * Reads one list in parentheses, in the same way, through a One_Arm_Bandit. Null, without a report, for "()".
 * Its messages are "Parselib Error: read_list failed." and "Parselib Error: stream in read_list not good.".
 */
KV_EXPORT Sequence* read_list(kvistream& in);

/* A named set of slots, which it owns with all that is in them. */
class KV_EXPORT Frame : public Bone {
 public:
  /* Takes the name, which may be null, and the slots over, as update_slots does. */
  Frame(clAtom& name, Sequence& slots);

  /* Reads the frame with a One_Arm_Bandit; without a name and slots when that fails. */
  explicit Frame(const kvistream& in);

  ~Frame() override;
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

  /* "[name slot slot]" and a newline. */
  void write(kvostream& stream) const override;

  /*
   * The indent, "[", the name; with slots also the separator, and each slot behind the indent and a tab,
   * followed by the separator; then "]" and the separator. A null indent is none.
   */
  void print(kvostream& stream, const char* indent, const char* separator) const;

  /* Puts the slots in, each in the place of one of its name, which is destroyed; the sequence is destroyed. It
   * may be null. */
  void update_slots(Sequence& slots);

  /* The value of a slot, which stays the frame's; the fallback, which may be null, when there is no such slot or
   * its value is null. */
  Bone* slot_val(const clAtom& name, Bone& fallback) const;
  Bone* slot_val(const clAtom& name, Bone* fallback) const;

  const clAtom* get_key() const; /* the name, or null */
  const Assoc& slots() const { return slots_; }

 private:
  void start(Sequence* slots);
  void merge(Sequence* slots);

  clAtom* name_;
  Assoc slots_;
};

/* A frame that was read from a file, and one from a text of the program. */
class KV_EXPORT Frame_Of_File : public Frame {
 public:
  using Frame::Frame;
  ~Frame_Of_File() override;
};

class KV_EXPORT Frame_Of_String : public Frame {
 public:
  using Frame::Frame;
  ~Frame_Of_String() override;
};

/* A slot whose value is a frame: written as its frame, whose name has the text of the key. */
class KV_EXPORT Frame_Association : public Association {
 public:
  Frame_Association(clAtom* key, Bone* frame) : Association(key, frame) {}
  ~Frame_Association() override;

  void write(kvostream& stream) const override;
};

}  // namespace kelvane

#endif
