# Two commands for people; both are thin.
.PHONY: demo test
demo:
	@scripts/demo
test:
	@scripts/test
