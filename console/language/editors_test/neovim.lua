-- The language server in Neovim's own client, without a screen:
--
--   LISP_CONSOLE_PATH=... nvim --headless -u NONE -i NONE -c "luafile neovim.lua"
--
-- Ends with 0 when all is as it should be, and with 1 and a message otherwise.

local function check(claim, holds, shown)
  if holds then return end
  io.stderr:write("not so: " .. claim .. ": " .. vim.inspect(shown) .. "\n")
  vim.cmd("cquit 1")
end

local function main()
  local path = vim.fn.tempname() .. ".lsp"
  vim.fn.writefile({
    "; Doubles \u{1D11E}.",
    "(DEFUN TWICE (X)",
    "  (* 2 X))",
    '(LIST "\u{1D11E}" (TWICE 1) (TWISE 2))',
    "( LIST  1 )",
  }, path)
  local editors = vim.env.LISP_EDITORS
  vim.opt.runtimepath:prepend(editors .. "/vim")
  vim.opt.runtimepath:prepend(editors .. "/nvim")
  vim.cmd("filetype plugin indent on")
  local ended
  require("lisp_worker").setup({
    console = vim.env.LISP_CONSOLE_PATH,
    client = { on_exit = function(code) ended = code end },
  })
  vim.cmd("edit " .. path)
  local buffer = vim.api.nvim_get_current_buf()
  check("the program has its type", vim.bo.filetype == "lisp_worker", vim.bo.filetype)
  vim.wait(10000, function() return next(vim.lsp.buf_get_clients(buffer)) ~= nil end)
  local client = next(vim.lsp.buf_get_clients(buffer))
  check("the server has been started", client ~= nil, client)

  local function diagnostics() return vim.diagnostic.get(buffer) end
  vim.wait(10000, function() return #diagnostics() > 0 end)
  check("the mistake is told", #diagnostics() == 1, diagnostics())
  check("in the checker's words",
    diagnostics()[1].message == "unsupported LISP function: TWISE\ndid you mean TWICE?", diagnostics())
  -- Columns of the client's diagnostics are bytes.
  check("at its place", diagnostics()[1].lnum == 3 and diagnostics()[1].col == 24, diagnostics())

  local function ask(method, line, character, more)
    local params = vim.tbl_extend("force", {
      textDocument = { uri = vim.uri_from_bufnr(buffer) },
      position = { line = line, character = character },
    }, more or {})
    local answers = vim.lsp.buf_request_sync(buffer, "textDocument/" .. method, params, 10000)
    for _, answer in pairs(answers or {}) do
      check(method .. " has no error", answer.error == nil, answer)
      return answer.result
    end
    check(method .. " is answered", false, nil)
  end

  local hover = ask("hover", 3, 13)
  check("hover shows the comment", hover.contents.value:find("Doubles") ~= nil, hover)
  local items = ask("completion", 3, 14).items
  check("completion offers the function", items[1] and items[1].label == "TWICE", items)
  check("definition leads there", ask("definition", 3, 13)[1].range.start.line == 1, nil)

  local actions = ask("codeAction", 3, 0, {
    range = { start = { line = 3, character = 0 }, ["end"] = { line = 4, character = 0 } },
    context = { diagnostics = {} },
  })
  vim.lsp.util.apply_workspace_edit(actions[1].edit, "utf-16")
  local function line(number) return vim.api.nvim_buf_get_lines(buffer, number, number + 1, true)[1] end
  check("the fix is made", line(3) == '(LIST "\u{1D11E}" (TWICE 1) (TWICE 2))', line(3))
  vim.wait(10000, function() return #diagnostics() == 0 end)
  check("and the mistake is gone", #diagnostics() == 0, diagnostics())

  vim.lsp.util.apply_workspace_edit(ask("rename", 1, 8, { newName = "DOUBLE" }), "utf-16")
  check("all uses are renamed", line(3) == '(LIST "\u{1D11E}" (DOUBLE 1) (DOUBLE 2))', line(3))
  check("and the definition", line(1) == "(DEFUN DOUBLE (X)", line(1))

  local edits = ask("formatting", 0, 0, { options = { tabSize = 2, insertSpaces = true } })
  vim.lsp.util.apply_text_edits(edits, buffer, "utf-16")
  check("the text is formatted", line(4) == "(LIST 1)", line(4))

  vim.lsp.stop_client(client)
  vim.wait(10000, function() return ended ~= nil end)
  check("the server ends well", ended == 0, ended)
end

local has_passed, failure = xpcall(main, debug.traceback)
if not has_passed then
  io.stderr:write(failure .. "\n")
  vim.cmd("cquit 1")
end
print("neovim: all as it should be\n")
vim.cmd("qall!")
