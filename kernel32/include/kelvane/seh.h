/*
 * Guarded regions: a fault (SIGSEGV, SIGBUS) of the calling thread between SehBeginTry3 and SehEndTry
 * returns a second time, non-zero, from the sigsetjmp that filled the frame's context:
 *
 *   SehFrame frame;
 *   if (sigsetjmp(frame.context, 0) == 0) {
 *     SehBeginTry3(&frame);
 *     ... the guarded access ...
 *     SehEndTry(&frame);
 *   } else if (frame.must_complete) {
 *     SehExceptReturn2(1);
 *   }
 *
 * The signal mask and any alternate stack are as they were before the fault. Frames nest, per thread; one
 * that a fault left is closed already. Nothing with a destructor may live inside the region. Faults outside
 * any region go on to the handler that was there before ours.
 */
#ifndef KELVANE_SEH_H
#define KELVANE_SEH_H

#include <setjmp.h>
#include <windef.h>

KV_BEGIN_C

typedef struct SehFrame {
  sigjmp_buf context;     /* filled by the caller's sigsetjmp(frame.context, 0) */
  struct SehFrame* outer; /* the frame around this one in the same thread */
  int must_complete;      /* set when a fault was caught: SehExceptReturn2(1) ends its dispatch */
  int signal_number;      /* the signal that was caught */
} SehFrame;

KV_EXPORT void SehBeginTry3(SehFrame* frame);
KV_EXPORT void SehEndTry(SehFrame* frame);
KV_EXPORT void SehExceptReturn2(int complete);

KV_END_C

#endif
