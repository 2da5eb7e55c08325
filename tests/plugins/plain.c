/* A library without hooks. */
int plain_answer(void);
int plain_answer(void) { return 7; }
