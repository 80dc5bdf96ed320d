-- The language server and the debugger of the LISP worker in Neovim:
--
--   require('lisp_worker').setup()
--
-- For the debugger nvim-dap has to be there.

local M = {}

-- options.console: the console, a name that the PATH leads to, or a path.
-- options.client: more of what vim.lsp.start_client() takes.
function M.setup(options)
  options = options or {}
  local console = options.console or 'lisp_console'
  vim.g.lisp_worker_console = console
  vim.api.nvim_create_autocmd('FileType', {
    group = vim.api.nvim_create_augroup('lisp_worker', {}),
    pattern = 'lisp_worker',
    callback = function(event)
      M.start(console, event.buf, options.client)
    end,
  })
  local has_dap, dap = pcall(require, 'dap')
  if has_dap then
    dap.adapters['lisp-worker'] = { type = 'executable', command = console, args = { 'dap' } }
    dap.configurations.lisp_worker = {
      {
        type = 'lisp-worker',
        request = 'launch',
        name = 'This program',
        program = '${file}',
        stopOnEntry = true,
      },
    }
  end
end

-- One server for each folder of programs. Gives its number.
function M.start(console, buffer, more)
  local folder = vim.fn.fnamemodify(vim.api.nvim_buf_get_name(buffer), ':p:h')
  local config = { name = 'lisp-worker', cmd = { console, 'lsp' }, root_dir = folder }
  config = vim.tbl_extend('force', config, more or {})
  if vim.lsp.start then
    return vim.lsp.start(config, { bufnr = buffer })
  end
  -- Before Neovim 0.8.
  M.clients = M.clients or {}
  if not M.clients[folder] or not vim.lsp.get_client_by_id(M.clients[folder]) then
    M.clients[folder] = vim.lsp.start_client(config)
  end
  vim.lsp.buf_attach_client(buffer, M.clients[folder])
  return M.clients[folder]
end

return M
