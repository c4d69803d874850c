# The frame that guards a call into the conversion library. GCC has no __try, so the frame's handler is named here
# by hand; crash_guard.cpp holds the handler.
#
#   int MorvexGuardFrame(int (*function)(void*) /*rcx*/, void* argument /*rdx*/, uint32_t* fault /*r8*/)
#
# Stack below the return address: 32 bytes for the callee, 8 of padding, 8 for `fault` at 40(%rsp), 8 of alignment.

    .text
    .globl  MorvexGuardFrame
    .globl  MorvexGuardLanding
    .def    MorvexGuardFrame; .scl 2; .type 32; .endef
    .seh_proc MorvexGuardFrame
    .seh_handler MorvexGuardHandler, @except
MorvexGuardFrame:
    subq    $56, %rsp
    .seh_stackalloc 56
    .seh_endprologue
    movq    %r8, 40(%rsp)
    movq    %rcx, %rax
    movq    %rdx, %rcx
    call    *%rax
    nop                         # the return address must lie inside the guarded range
MorvexGuardLanding:             # an unwind ends here with its result in rax
    addq    $56, %rsp
    ret
    .seh_endproc
