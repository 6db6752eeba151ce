/* The start of a processor without an operating system: its table of vectors, and the unit of floats where it has one. */
#include <stdint.h>

extern uint32_t stack_top;
extern void _start(void);
void reset(void);
void stop(void);

void stop(void) {
    for (;;) {
    }
}

void reset(void) {
#if defined(__ARM_FP)
    *(volatile uint32_t *)0xe000ed88u |= 0xfu << 20;
    __asm volatile("dsb\n isb");
#endif
    _start();
}

__attribute__((section(".vectors"), used)) static const void *const vectors[16] = {
    &stack_top, (const void *)reset, (const void *)stop, (const void *)stop, (const void *)stop, (const void *)stop,
    (const void *)stop, 0, 0, 0, 0, (const void *)stop, (const void *)stop, 0, (const void *)stop, (const void *)stop};
